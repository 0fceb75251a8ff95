#include "export/service_traits.h"

namespace {

struct ServiceTraits {
    const char* service;
    FormatUse pictures;
    FormatUse sound;
};

constexpr FormatUse kNone = FormatUse::kUntouched;
constexpr FormatUse kOwn = FormatUse::kOwnFormat;

// The effect catalogue's services. Picture effects ask for packed 4:2:2 (or
// RGBA for affine and box_blur) whenever they change a picture; brightness at
// level 1 and box_blur without radius pass the picture on untouched. Sound
// effects convert to the sample format they work in, except mono, which sums
// channels in whatever format it is handed (16-bit sums wrap, float ones do
// not).
const ServiceTraits kEffects[] = {
    {"affine", kOwn, kNone},    {"box_blur", kOwn, kNone}, {"brightness", kOwn, kNone},
    {"composite", kOwn, kNone}, {"gamma", kOwn, kNone},    {"greyscale", kOwn, kNone},
    {"invert", kOwn, kNone},    {"luma", kOwn, kNone},     {"mirror", kOwn, kNone},
    {"sepia", kOwn, kNone},     {"mix", kNone, kOwn},      {"mono", kNone, FormatUse::kUnknown},
    {"volume", kNone, kOwn},
};

const char* const kNormalisers[] = {
    "deinterlace",   "fieldorder",   "crop",         "swscale",    "resize",   "rescale",
    "avcolor_space", "imageconvert", "audioconvert", "swresample", "resample", "audiochannels",
};

const ServiceTraits* traitsOf(const std::string& service) {
    for (const ServiceTraits& traits : kEffects) {
        if (service == traits.service) {
            return &traits;
        }
    }
    return nullptr;
}

}  // namespace

FormatUse pictureUseOf(const std::string& service) {
    const ServiceTraits* traits = traitsOf(service);
    return traits ? traits->pictures : FormatUse::kUnknown;
}

FormatUse soundUseOf(const std::string& service) {
    const ServiceTraits* traits = traitsOf(service);
    return traits ? traits->sound : FormatUse::kUnknown;
}

bool isKnownNormaliser(const std::string& service) {
    for (const char* normaliser : kNormalisers) {
        if (service == normaliser) {
            return true;
        }
    }
    return false;
}
