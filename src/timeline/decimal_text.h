// Frame positions, lengths and counts travel through the model as decimal
// text, the way the client sends them. Arithmetic converts them in the manner
// of atoi: leading digits count, anything else gives 0. Every number written
// for MLT or the project file uses the "C" conventions whatever the process
// locale is, because MLT and some of its modules change the locale.
#pragma once

#include <string>

// Leading decimal digits (after blanks and an optional sign), 0 when none;
// values beyond 32 bits are clamped.
int decimalValue(const std::string& text);

std::string decimalText(long long value);

// Fixed-point with six decimals and a point as separator (25 -> 25.000000).
std::string fixedSixText(double value);

// A leading decimal number with a point as separator, 0 when none.
double realValue(const std::string& text);
