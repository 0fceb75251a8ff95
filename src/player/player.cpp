#include "player/player.h"

MePlayer::MePlayer() = default;
MePlayer::~MePlayer() = default;

void MePlayer::setCachePath(const std::string&) {}
std::string MePlayer::getCachePath() const {
    return "";
}
std::string MePlayer::getMltFile() const {
    return "";
}
int MePlayer::initFactory() {
    return 0;
}
int MePlayer::play(int, bool, const std::string&) {
    return 0;
}
void MePlayer::stop() {}
void MePlayer::pause() {}
void MePlayer::continuePlay() {}
void MePlayer::seekAndHold(int) {}
void MePlayer::seekAndStop(int) {}
void MePlayer::nextFrame() {}
void MePlayer::preFrame() {}
void MePlayer::applyVolume() {}
void MePlayer::setConsumerVolume(double) {}
void MePlayer::setPlaybackSpeed(double) {}
void MePlayer::resizeWindow(int, int) {}
void MePlayer::fullScreen(bool, int, int, int, int, const std::string&) {}
void MePlayer::closeConsumer() {}
bool MePlayer::stopConsumer() {
    return false;
}
bool MePlayer::startConsumer() {
    return false;
}
bool MePlayer::hasProducer() const {
    return false;
}
int MePlayer::getTotalFrames() {
    return 0;
}
int MePlayer::getExportTotalFrames() {
    return 0;
}
bool MePlayer::isExportStopped() {
    return false;
}
double MePlayer::getTotalTime() {
    return 0.0;
}
double MePlayer::getCurrentTime() {
    return 0.0;
}
double MePlayer::getFps() {
    return 0.0;
}
std::string MePlayer::getTotalTimeString() {
    return "";
}
std::string MePlayer::getCurrentTimeString() {
    return "";
}
bool MePlayer::isAudioValid() {
    return true;
}
int MePlayer::getCurrentPosition() {
    return 0;
}
int MePlayer::getExportCurrentPosition() {
    return 0;
}
bool MePlayer::addClip(CParseJson&) {
    return false;
}
bool MePlayer::addBatchClip(CParseJson&) {
    return false;
}
bool MePlayer::alterClip(CParseJson&) {
    return false;
}
bool MePlayer::deleteClip(CParseJson&) {
    return false;
}
bool MePlayer::deleteBatchClip(CParseJson&) {
    return false;
}
bool MePlayer::deleteAllClip(CParseJson&) {
    return false;
}
bool MePlayer::addFilter(CParseJson&) {
    return false;
}
bool MePlayer::alterFilter(CParseJson&) {
    return false;
}
bool MePlayer::deleteFilter(CParseJson&) {
    return false;
}
bool MePlayer::deleteBatchFilter(CParseJson&) {
    return false;
}
bool MePlayer::addTransition(CParseJson&) {
    return false;
}
bool MePlayer::deleteTransition(CParseJson&) {
    return false;
}
bool MePlayer::deleteBatchTransition(CParseJson&) {
    return false;
}
bool MePlayer::alterSceneResource(CParseJson&) {
    return false;
}
void MePlayer::saveMltFile(const std::string&) {}
void MePlayer::exportMovie(const ExportSettings&) {}
void MePlayer::closeExport() {}
std::string MePlayer::getHwAccelAbility() {
    return "";
}
bool MePlayer::snapPic(int, const std::string&, const std::string&, const std::string&) {
    return false;
}
bool MePlayer::snapMultiPic_Quick(const std::vector<int>&, const PictureSpec&, const std::string&,
                                  const std::string&) {
    return false;
}
bool MePlayer::makeAudioThumb(const std::string&, const std::string&) {
    return false;
}
std::string MePlayer::getProperty(const std::string&, const std::string&) {
    return "";
}
