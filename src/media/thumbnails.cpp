#include "media/thumbnails.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <cstdio>

#include "log/log.h"
#include "media/cached_answers.h"
#include "platform/durable_file.h"
#include "platform/platform.h"

using media::AnswerWrite;
using media::CachedAnswers;
using media::FreshAnswer;

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

// The counts a decode added to the grabber's timestamp history, as a note
// kept with its picture: "<pts> <dts>".
std::string historyNote(const TimestampHistory& before, const TimestampHistory& after) {
    return std::to_string(after.missingPts - before.missingPts) + " " +
           std::to_string(after.missingDts - before.missingDts);
}

bool readHistoryNote(const std::string& note, TimestampHistory& counts) {
    return std::sscanf(note.c_str(), "%u %u", &counts.missingPts, &counts.missingDts) == 2;
}

// One series' pictures: checks a position as the series must, then takes its
// picture from the cache or decodes it.
//
// Beside the file, the position, the size and the rotation, a decoded picture
// depends on the grabber's timestamp history (see frame_grabber.h) and on the
// start time found when the file was opened. The series opens its file in
// any case, so opening moves the history as it always would; a picture is
// kept only when the rest followed from the file and the history the key
// names: the file read nothing else, its start time was found on opening,
// and opening and the decode each placed every packet by the same timestamp.
// What the decode added to the history is kept with the picture and added
// again whenever the picture is taken from the cache, so the grabber ends as
// the decode would have left it and later pictures of other files cannot
// tell the difference.
class SeriesPictures {
  public:
    SeriesPictures(FrameGrabber& grabber, const PictureSpec& spec, CachedAnswers& answers,
                   const TimestampHistory& beforeOpen)
        : grabber_(grabber),
          spec_(spec),
          answers_(answers),
          beforeOpen_(beforeOpen),
          steadyOpen_(grabber.startTime() != AV_NOPTS_VALUE &&
                      samePreferenceBetween(beforeOpen, grabber.timestampHistory())) {}

    bool snap(int position, const std::string& path) {
        // Past the end, or without a decoder, a position fails before any
        // picture is looked for.
        if (position >= grabber_.totalFrames() || !grabber_.hasDecoder()) {
            return false;
        }
        const TimestampHistory beforeDecode = grabber_.timestampHistory();
        const auto decode = [&] {
            FreshAnswer fresh;
            fresh.result = decodeAndSave(position, path);
            const TimestampHistory afterDecode = grabber_.timestampHistory();
            fresh.keep = fresh.result && steadyOpen_ && !grabber_.readsOtherFiles() &&
                         samePreferenceBetween(beforeDecode, afterDecode);
            fresh.note = historyNote(beforeDecode, afterDecode);
            return fresh;
        };
        const auto replay = [&](const std::string& note) {
            TimestampHistory counts;
            if (readHistoryNote(note, counts)) {
                grabber_.addToHistory(counts);
            }
        };
        return answers_.answer(key(position, beforeDecode), path, AnswerWrite::kInPlace, decode,
                               replay);
    }

  private:
    cache::CacheKey key(int position, const TimestampHistory& beforeDecode) const {
        cache::CacheKey key = answers_.key("thumbnail", kThumbnailRecipe);
        key.add("rotation", grabber_.getRotation())
            .add("width", spec_.width)
            .add("height", spec_.height)
            .add("rate", spec_.frameRate)
            .add("position", position)
            .add("dts first on opening", static_cast<int>(beforeOpen_.prefersDts()))
            .add("dts first", static_cast<int>(beforeDecode.prefersDts()));
        return key;
    }

    bool decodeAndSave(int position, const std::string& path) {
        const int target = streamFrameAt(grabber_, position);
        if (!grabber_.seekToFrame(target)) {
            return false;
        }
        media::FramePtr picture = grabber_.decodeFrame(target);
        return picture && grabber_.saveFrame(*picture, path, spec_.width, spec_.height);
    }

    // Counts changes to how a thumbnail is made from these facts.
    static constexpr int kThumbnailRecipe = 1;

    FrameGrabber& grabber_;
    const PictureSpec& spec_;
    CachedAnswers& answers_;
    const TimestampHistory beforeOpen_;
    const bool steadyOpen_;
};

}  // namespace

bool snapMultiPicQuick(FrameGrabber& grabber, const std::vector<int>& positions,
                       const PictureSpec& spec, const std::string& fileName,
                       const std::string& outDir, cache::ResultCache* cache) {
    writeLog(kLogDebug, "%s", kBeginText);
    CachedAnswers answers(cache, fileName);
    const TimestampHistory beforeOpen = grabber.timestampHistory();
    // A file that does not open leaves no decoder, and every position fails.
    grabber.openMedia(fileName, spec.frameRate);
    SeriesPictures pictures(grabber, spec, answers, beforeOpen);
    bool wroteAny = false;
    for (int position : positions) {
        const std::string path =
            outDir + platform::kPathSeparator + std::to_string(position) + kThumbnailExtension;
        if (pictures.snap(position, path)) {
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
