#include "timeline/placement_timing.h"

#include "timeline/decimal_text.h"
#include "timeline/model_names.h"

void PlacementTiming::setHeadRepeat(int frames, const std::string& in) {
    const int blank = decimalValue(blankLength);
    const long long remaining = static_cast<long long>(blank) - frames;
    if (remaining < 0) {
        blankLength = modelkind::kZero;
        repeatHead = decimalText(blank);
    } else {
        blankLength = decimalText(remaining);
        repeatHead = decimalText(frames);
    }
    headIn = in;
}

void PlacementTiming::setTailRepeat(int frames, const std::string& out) {
    repeatTail = decimalText(frames);
    tailOut = out;
}
