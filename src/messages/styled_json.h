// The engine's styled JSON text: three-space indentation, a right margin of
// 74 for short arrays, members in key byte order, and real numbers printed
// with "%#.16g" and trailing zeros cut to one (25.5 -> 25.50). The client
// compares these texts, so the layout is the engine's own and does not
// follow whichever jsoncpp release is installed.
#pragma once

#include <json/value.h>

#include <string>

// "%#.16g" in the "C" locale with the trailing-zero rule.
std::string formatJsonReal(double value);

// The styled text of a value, ending in a line feed.
std::string toStyledJson(const Json::Value& value);
