// Media the tests make for themselves with the ffmpeg tool, and small process
// helpers. Nothing binary is committed: every file is generated on first use
// into a per-user cache folder and reused by later tests of the same run.
#pragma once

#include <string>

namespace testsupport {

// Folder shared by the tests of one run for generated media.
std::string mediaDirectory();

// A fresh empty folder for one test's outputs.
std::string makeTempDirectory(const std::string& prefix);

// Generates name (a file name inside mediaDirectory()) with
// "ffmpeg -y -loglevel error <ffmpegArguments> <path>" unless it exists.
// Returns the full path; fails the calling test when ffmpeg fails.
std::string makeMedia(const std::string& name, const std::string& ffmpegArguments);

// Common sources.
// 25 fps H.264 test pattern with a frame counter and a moving box, AAC tone.
std::string colourBarsWithTone(int seconds = 4, int width = 320, int height = 240);
// 48 kHz stereo 440 Hz sine in a WAV file.
std::string toneWav(int seconds = 4);

// Runs a shell command; returns its exit status and, when given, its output.
int runCommand(const std::string& command, std::string* output = nullptr);

// Whole file as text; empty when unreadable.
std::string readFile(const std::string& path);
bool fileExists(const std::string& path);

}  // namespace testsupport
