#include "definitions/DefinitionSet.h"

#include <algorithm>
#include <iterator>

namespace rksignal {

namespace {

template <class T>
void moveAppend(std::vector<T>& to, std::vector<T>& from)
{
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
    from.clear();
}

template <class T, class Keep>
void retain(std::vector<T>& records, const Keep& keep)
{
    records.erase(std::remove_if(records.begin(), records.end(),
                                 [&keep](const T& record) { return !keep(record.instance); }),
                  records.end());
}

} // namespace

void DefinitionSet::append(DefinitionSet&& other)
{
    moveAppend(can, other.can);
    moveAppend(lin, other.lin);
    moveAppend(flexRay, other.flexRay);
    moveAppend(ethernet, other.ethernet);
    moveAppend(digital, other.digital);
    moveAppend(analog, other.analog);
    moveAppend(keyboard, other.keyboard);
    moveAppend(loggerStatus, other.loggerStatus);
    moveAppend(gps, other.gps);
    moveAppend(canBranches, other.canBranches);
    moveAppend(j1939, other.j1939);
}

size_t DefinitionSet::size() const
{
    return can.size() + lin.size() + flexRay.size() + ethernet.size() + digital.size() + analog.size() +
           keyboard.size() + loggerStatus.size() + gps.size();
}

void DefinitionSet::retainInstances(const std::function<bool(const std::string& instance)>& keep)
{
    retain(can, keep);
    retain(lin, keep);
    retain(flexRay, keep);
    retain(ethernet, keep);
    retain(digital, keep);
    retain(analog, keep);
    retain(keyboard, keep);
    retain(loggerStatus, keep);
    retain(gps, keep);
}

} // namespace rksignal
