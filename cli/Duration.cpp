#include "cli/Duration.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace rksignal {

namespace {

struct Unit {
    const char* name;
    double microseconds;
};

constexpr Unit units[] = {{"min", 60e6}, {"ms", 1e3}, {"us", 1}, {"s", 1e6}, {"h", 3600e6}};

constexpr double longest = 366 * 24 * 3600e6;

} // namespace

bool Duration::parse(const std::string& text, uint64_t& microseconds)
{
    const char* begin = text.c_str();
    if (text.empty() || !(std::isdigit((unsigned char)*begin) || *begin == '.'))
        return false;
    char* end = nullptr;
    const double number = std::strtod(begin, &end);
    if (end == begin || !std::isfinite(number))
        return false;
    for (const Unit& unit : units) {
        if (std::strcmp(end, unit.name) != 0)
            continue;
        const double value = std::round(number * unit.microseconds);
        if (value > longest)
            return false;
        microseconds = uint64_t(value);
        return true;
    }
    return false;
}

std::string Duration::check(const std::string& text)
{
    uint64_t microseconds = 0;
    return parse(text, microseconds) ? std::string()
                                     : "expected a duration such as 500ms, 5s or 2min (a number and one of us, ms, s, min, h; at most a year)";
}

} // namespace rksignal
