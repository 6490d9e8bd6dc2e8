// The text a value's operator<< writes, for comparing print forms exactly.
#pragma once

#include <sstream>
#include <string>

template <class T>
std::string printed(const T& value)
{
    std::ostringstream os;
    os << value;
    return os.str();
}
