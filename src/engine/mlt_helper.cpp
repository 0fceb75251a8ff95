// MltHelper's construction and the helpers every edit shares: resource paths
// made absolute against the cache folder, command properties copied onto
// engine services, and the properties that describe a compose clip's sub-clips.
#include "engine/mlt_helper.h"

#include <iomanip>
#include <locale>
#include <sstream>

#include "engine/engine_names.h"
#include "engine/graph.h"
#include "platform/platform.h"

namespace {

// Properties that may name a file, by the kind of service carrying them. A
// producer's own resource is qualified before the producer is made.
const char* const kProducerPathProperties[] = {"luma", "luma.resource", "composite.luma",
                                               "producer.resource", "argument"};
const char* const kTransitionPathProperties[] = {"resource", "luma", "luma.resource",
                                                 "composite.luma", "producer.resource"};
const char* const kFilterPathProperties[] = {
    "resource",          "luma",     "luma.resource", "composite.luma",
    "producer.resource", "filename", "av.file"};

// Sub-clip members and the producer property suffix each one fills.
struct SubClipField {
    const char* suffix;
    const char* member;
};
const SubClipField kSubClipFields[] = {
    {"resource", mltnames::kResource}, {"type", mltnames::kType},   {"in", mltnames::kIn},
    {"out", mltnames::kOut},           {"start", mltnames::kStart}, {"end", mltnames::kEnd},
};
constexpr char kSubClipPrefix[] = "producer.";
constexpr char kSubClipProfilePrefix[] = "profile.";
constexpr char kProfileWidth[] = "width";
constexpr char kProfileHeight[] = "height";
constexpr char kProfileFps[] = "fps";

double numberOf(const Json::Value& value) {
    return value.isNumeric() ? value.asDouble() : 0.0;
}

const Json::Value& memberOf(const Json::Value& object, const char* name) {
    static const Json::Value kNull;
    return object.isObject() ? object[name] : kNull;
}

// A frame rate with six decimals and a point, whatever the process locale.
std::string fixedSix(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(6) << value;
    return text.str();
}

void applySubClip(mlt_properties properties, const Json::Value& element) {
    std::string name;
    mltgraph::scalarText(element[mltnames::kName], name);
    const std::string prefix = kSubClipPrefix + name + ".";
    for (const SubClipField& field : kSubClipFields) {
        std::string value;
        if (mltgraph::scalarText(element[field.member], value) && !value.empty()) {
            mlt_properties_set(properties, (prefix + field.suffix).c_str(), value.c_str());
        }
    }
    const Json::Value& profile = element[mltnames::kProfile];
    const std::string profilePrefix = prefix + kSubClipProfilePrefix;
    mlt_properties_set_int(properties, (profilePrefix + kProfileWidth).c_str(),
                           static_cast<int>(numberOf(memberOf(profile, mltnames::kWidth))));
    mlt_properties_set_int(properties, (profilePrefix + kProfileHeight).c_str(),
                           static_cast<int>(numberOf(memberOf(profile, mltnames::kHeight))));
    mlt_properties_set(properties, (profilePrefix + kProfileFps).c_str(),
                       fixedSix(numberOf(memberOf(profile, mltnames::kFrameRate))).c_str());
}

}  // namespace

MltHelper::MltHelper(mlt_producer producer, const std::string& cachePath, GraphDumpSchedule* dumps)
    : producer_(producer), cachePath_(cachePath), dumps_(dumps) {}

std::string MltHelper::qualifyPath(const std::string& path) const {
    // Absolute paths (either separator) and anything with a drive or scheme stay.
    if (cachePath_.empty() || path.rfind('/', 0) == 0 || path.rfind('\\', 0) == 0 ||
        path.find(':') != std::string::npos) {
        return path;
    }
    return cachePath_ + platform::kPathSeparator + path;
}

std::string MltHelper::dumpPath() const {
    if (cachePath_.empty()) {
        return mltnames::kDumpFileWithoutCache;
    }
    return cachePath_ + platform::kPathSeparator + mltnames::kDumpFolder +
           platform::kPathSeparator + mltnames::kDumpFile;
}

int MltHelper::trackIndexOf(const std::string& name) {
    static const struct {
        const char* id;
        int index;
    } kTrackIndexes[] = {
        {mltnames::kMainTrack, 0},
        {mltnames::kSecondTrack, 1},
        {mltnames::kAudioTrack0, 2},
        {mltnames::kAudioTrack1, 3},
    };
    for (const auto& track : kTrackIndexes) {
        if (name == track.id) {
            return track.index;
        }
    }
    return 0;
}

void MltHelper::qualifyProperty(mlt_properties properties, const char* name) const {
    const char* stored = mlt_properties_get(properties, name);
    if (stored == nullptr || *stored == '\0') {
        return;
    }
    std::string qualified = qualifyPath(stored);
    if (qualified != stored) {
        mlt_properties_set(properties, name, qualified.c_str());
    }
}

void MltHelper::qualifyProducerPaths(mlt_properties properties) const {
    for (const char* name : kProducerPathProperties) {
        qualifyProperty(properties, name);
    }
}

void MltHelper::qualifyTransitionPaths(mlt_properties properties) const {
    for (const char* name : kTransitionPathProperties) {
        qualifyProperty(properties, name);
    }
}

void MltHelper::qualifyFilterPaths(mlt_properties properties) const {
    for (const char* name : kFilterPathProperties) {
        qualifyProperty(properties, name);
    }
}

void MltHelper::applyPropertyObject(mlt_properties properties, CParseJson& content) {
    Json::Value object;
    if (!content.getObject(mltnames::kProperty, object) || !object.isObject()) {
        return;
    }
    for (const std::string& name : object.getMemberNames()) {
        std::string value;
        if (mltgraph::scalarText(object[name], value)) {
            mlt_properties_set(properties, name.c_str(), value.c_str());
        }
    }
}

void MltHelper::applySubClips(mlt_properties properties, CParseJson& content) {
    Json::Value subClips;
    if (!content.getArray(mltnames::kSubClips, subClips) || !subClips.isArray()) {
        return;
    }
    for (const Json::Value& element : subClips) {
        if (element.isObject()) {
            applySubClip(properties, element);
        }
    }
}
