#include "timeline/decimal_text.h"

#include <climits>
#include <cstdlib>
#include <iomanip>
#include <locale>
#include <sstream>

int decimalValue(const std::string& text) {
    long long value = std::strtoll(text.c_str(), nullptr, 10);
    if (value > INT_MAX) {
        return INT_MAX;
    }
    if (value < INT_MIN) {
        return INT_MIN;
    }
    return static_cast<int>(value);
}

std::string decimalText(long long value) {
    return std::to_string(value);
}

std::string fixedSixText(double value) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << std::fixed << std::setprecision(6) << value;
    return out.str();
}

double realValue(const std::string& text) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    double value = 0.0;
    if (!(in >> value)) {
        return 0.0;
    }
    return value;
}
