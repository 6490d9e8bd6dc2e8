#include "tools/DefinitionSet.h"

#include <iterator>

namespace {

template <class T>
void moveAppend(std::vector<T>& to, std::vector<T>& from)
{
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
    from.clear();
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
}

size_t DefinitionSet::size() const
{
    return can.size() + lin.size() + flexRay.size() + ethernet.size() + digital.size() + analog.size() +
           keyboard.size() + loggerStatus.size() + gps.size();
}
