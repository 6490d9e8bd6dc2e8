#include "util/macaddr_t.h"

#include <cstdio>

void macaddr_t::print(std::ostream& os) const
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", unsigned(address >> 40) & 0xffu,
                  unsigned(address >> 32) & 0xffu, unsigned(address >> 24) & 0xffu, unsigned(address >> 16) & 0xffu,
                  unsigned(address >> 8) & 0xffu, unsigned(address) & 0xffu);
    os << text;
}
