#include "media/thumbnails.h"

#include "log/log.h"
#include "platform/durable_file.h"
#include "platform/platform.h"

namespace {

const char kBeginText[] = "snapMultiPic_Quick begin";
const char kEndText[] = "snapMultiPic_Quick end";
const char kPositionFailedText[] = "snap %s is not sucess";
const char kThumbnailExtension[] = ".png";

// The stream frame shown at a position counted in the grabber's position rate.
int streamFrameAt(const FrameGrabber& grabber, int position) {
    if (grabber.positionRate() <= 0.0) {
        return 0;
    }
    return static_cast<int>(position / grabber.positionRate() * grabber.streamRate() + 0.5);
}

bool snapPosition(FrameGrabber& grabber, int position, const PictureSpec& spec,
                  const std::string& path) {
    if (position >= grabber.totalFrames()) {
        return false;
    }
    const int target = streamFrameAt(grabber, position);
    if (!grabber.seekToFrame(target)) {
        return false;
    }
    media::FramePtr picture = grabber.decodeFrame(target);
    return picture && grabber.saveFrame(*picture, path, spec.width, spec.height);
}

}  // namespace

bool snapMultiPicQuick(FrameGrabber& grabber, const std::vector<int>& positions,
                       const PictureSpec& spec, const std::string& fileName,
                       const std::string& outDir) {
    writeLog(kLogDebug, "%s", kBeginText);
    // A file that does not open leaves no decoder, and every position fails.
    grabber.openMedia(fileName, spec.frameRate);
    bool wroteAny = false;
    for (int position : positions) {
        const std::string path =
            outDir + platform::kPathSeparator + std::to_string(position) + kThumbnailExtension;
        if (snapPosition(grabber, position, spec, path)) {
            wroteAny = true;
        } else {
            writeLog(kLogError, kPositionFailedText, path.c_str());
        }
    }
    // One sync of the folder per series makes the new names durable.
    if (wroteAny) {
        platform::syncDirectory(outDir);
    }
    writeLog(kLogInfo, "%s", kEndText);
    return !positions.empty();
}
