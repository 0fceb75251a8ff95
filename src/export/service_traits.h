// What MLT 7.12's services do with the picture and sound formats a render
// asks them for, as their sources show. A render may ask the engine for the
// encoder's own formats only where every service on the way either leaves
// the data alone or asks its input for a fixed format of its own: then the
// same conversions happen, only at the end of the engine's chain instead of
// in the consumer. A service that is not listed may process whatever format
// it is handed, and rules the choice out.
#pragma once

#include <string>

enum class FormatUse {
    kUntouched,  // never sees this kind of data, or passes it on as it came
    kOwnFormat,  // asks its input for a fixed format and returns that one
    kUnknown,    // may work in the format it is asked for
};

// Filters and transitions a timeline places.
FormatUse pictureUseOf(const std::string& service);
FormatUse soundUseOf(const std::string& service);

// Normalisers MLT's loader attaches to every producer. They leave pictures
// alone when the source already has the profile's size, aspect, scan and
// range; the sound ones convert only what differs from the request.
bool isKnownNormaliser(const std::string& service);
