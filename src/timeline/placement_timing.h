// Where a placement's clip starts on its track and how long its first and
// last frames are held: the blank in front of it, the still head and the
// still tail, as decimal text. A main track lays out its transitions on
// copies of these rather than on copies of whole placements.
#pragma once

#include <string>

struct PlacementTiming {
    std::string blankLength = "0";
    std::string repeatHead = "0";
    std::string headIn = "0";
    std::string repeatTail = "0";
    std::string tailOut = "0";

    // Holds the frame at in for frames frames, taken out of the blank, so the
    // placement keeps its position (and only as much as the blank holds).
    void setHeadRepeat(int frames, const std::string& in);
    // Holds the frame at out for frames frames after the clip.
    void setTailRepeat(int frames, const std::string& out);
};
