#include "media/cached_answers.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include "platform/durable_file.h"

namespace media {
namespace {

// Decoders, filters, the scaler and the encoders all shape the bytes, and a
// library update may change them.
const std::string& libraryVersions() {
    static const std::string text = [] {
        const unsigned versions[] = {avutil_version(),   avcodec_version(), avformat_version(),
                                     avfilter_version(), swscale_version(), swresample_version()};
        std::string joined;
        for (unsigned version : versions) {
            joined += std::to_string(version) + " ";
        }
        return joined;
    }();
    return text;
}

bool writeAnswer(const std::string& path, const std::string& bytes, AnswerWrite how) {
    return how == AnswerWrite::kDurable ? platform::writeFileDurably(path, bytes)
                                        : platform::writeFileInPlace(path, bytes);
}

// A kept answer: the note's length in decimal and a line feed, the note, then
// the file's bytes.
std::string packAnswer(const std::string& note, const std::string& file) {
    return std::to_string(note.size()) + "\n" + note + file;
}

bool unpackAnswer(const std::string& packed, std::string& note, std::string& file) {
    const size_t lineEnd = packed.find('\n');
    if (lineEnd == std::string::npos || lineEnd == 0 || lineEnd > 9) {
        return false;
    }
    size_t length = 0;
    for (size_t i = 0; i < lineEnd; ++i) {
        if (packed[i] < '0' || packed[i] > '9') {
            return false;
        }
        length = length * 10 + static_cast<size_t>(packed[i] - '0');
    }
    if (length > packed.size() - lineEnd - 1) {
        return false;
    }
    note = packed.substr(lineEnd + 1, length);
    file = packed.substr(lineEnd + 1 + length);
    return true;
}

}  // namespace

CachedAnswers::CachedAnswers(cache::ResultCache* cache, const std::string& mediaPath)
    : cache_(cache != nullptr && cache->enabled() ? cache : nullptr), mediaPath_(mediaPath) {
    if (cache_ != nullptr) {
        identity_ = platform::regularFileIdentity(mediaPath);
    }
}

cache::CacheKey CachedAnswers::key(const char* kind, int recipe) const {
    cache::CacheKey key(kind, recipe);
    key.add("ffmpeg", libraryVersions());
    if (identity_) {
        key.add("media", *identity_);
    }
    return key;
}

bool CachedAnswers::answer(const cache::CacheKey& key, const std::string& path, AnswerWrite how,
                           const std::function<FreshAnswer()>& compute,
                           const std::function<void(const std::string& note)>& replay) {
    if (!active()) {
        return compute().result;
    }
    std::string note;
    std::string file;
    const std::optional<std::string> cached = cache_->find(key);
    if (cached && unpackAnswer(*cached, note, file)) {
        if (replay) {
            replay(note);
        }
        return writeAnswer(path, file, how);
    }
    const FreshAnswer fresh = compute();
    // A media file rewritten while it was decoded may have given a mix of
    // both versions; it is decoded again next time instead.
    if (fresh.keep && cache_->enabled() && platform::regularFileIdentity(mediaPath_) == identity_) {
        if (const std::optional<std::string> written =
                platform::readWholeFile(path, cache_->limitBytes())) {
            cache_->store(key, packAnswer(fresh.note, *written));
        }
    }
    return fresh.result;
}

}  // namespace media
