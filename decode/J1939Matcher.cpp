#include "decode/J1939Matcher.h"

namespace rksignal {

void J1939Matcher::add(uint8_t channel, uint32_t msgId)
{
    exact_.insert(keyOf(channel, msgId));
    byPgn_.emplace(keyOf(channel, pgnOf(msgId)), msgId);
}

bool J1939Matcher::byPgn(uint8_t channel, uint32_t pgn, uint32_t& msgId) const
{
    const auto entry = byPgn_.find(keyOf(channel, pgn));
    if (entry == byPgn_.end())
        return false;
    msgId = entry->second;
    return true;
}

} // namespace rksignal
