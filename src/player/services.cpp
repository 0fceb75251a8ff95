// Export, pictures, probing and audio levels: the player owns the objects
// these need (the export session, the frame grabber, the engine start) and
// hands the work to the modules that do it.
#include "export/hw_accel.h"
#include "media/audio_waveform.h"
#include "media/probe.h"
#include "media/snapshot.h"
#include "media/thumbnails.h"
#include "player/player.h"

void MePlayer::exportMovie(const ExportSettings& settings) {
    export_.start(settings, profileName);
}

void MePlayer::closeExport() {
    export_.close();
}

int MePlayer::getExportTotalFrames() {
    return export_.totalFrames();
}

bool MePlayer::isExportStopped() {
    return export_.isStopped();
}

int MePlayer::getExportCurrentPosition() {
    return export_.currentPosition(cachePath_);
}

std::string MePlayer::getHwAccelAbility() {
    return ::getHwAccelAbility();
}

cache::ResultCache* MePlayer::mediaCache() {
    if (!mediaCache_) {
        mediaCache_ = std::make_unique<cache::ResultCache>(
            cache::resolveCacheSettings(cache::readCacheEnvironment()));
    }
    return mediaCache_.get();
}

bool MePlayer::snapPic(int position, const std::string& profile, const std::string& fileName,
                       const std::string& outFile) {
    ensureFactory();
    return snapPicture(position, profile, fileName, outFile, mediaCache());
}

bool MePlayer::snapMultiPic_Quick(const std::vector<int>& positions, const PictureSpec& spec,
                                  const std::string& fileName, const std::string& outDir) {
    return snapMultiPicQuick(grabber_, positions, spec, fileName, outDir, mediaCache());
}

bool MePlayer::makeAudioThumb(const std::string& fileName, const std::string& outFile) {
    return makeAudioThumbFile(profileName, fileName, outFile, mediaCache());
}

std::string MePlayer::getProperty(const std::string& fileName, const std::string& fileType) {
    ensureFactory();
    return getMediaProperty(profileName, fileName, fileType);
}
