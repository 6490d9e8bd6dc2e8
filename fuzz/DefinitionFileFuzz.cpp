#include "DefinitionFileFuzz.h"

using namespace rksignal;

namespace fuzz {

namespace {

template <class Record>
void truncate(std::vector<Record>& records, size_t count)
{
    if (records.size() > count)
        records.resize(count);
}

} // namespace

void keepFirst(DefinitionSet& set, size_t count)
{
    truncate(set.can, count);
    truncate(set.lin, count);
    truncate(set.flexRay, count);
    truncate(set.ethernet, count);
    truncate(set.digital, count);
    truncate(set.analog, count);
    truncate(set.keyboard, count);
    truncate(set.loggerStatus, count);
    truncate(set.gps, count);
}

} // namespace fuzz
