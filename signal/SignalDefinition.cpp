#include "signal/SignalDefinition.h"

std::ostream& operator<<(std::ostream& os, signalValue_t type)
{
    switch (type) {
    case SIGNAL_UNSIGNED: return os << "unsigned";
    case SIGNAL_SIGNED: return os << "signed";
    case SIGNAL_FLOAT: return os << "float";
    case SIGNAL_DOUBLE: return os << "double";
    }
    return os;
}

std::ostream& operator<<(std::ostream& os, const baseSignalDef_t& def)
{
    os << std::dec << "instance=" << def.instance << ",signal=" << def.signal << ",channel=" << unsigned(def.channel)
       << ",unit=" << def.unit << ",type=" << def.type << ",startbit=" << def.startbit
       << ",bits=" << unsigned(def.bits) << ",scale=" << def.scale << ",offset=" << def.offset
       << ",endian=" << (def.endian ? "BIG" : "LITTLE") << ",multiplexed=" << (def.multiplexed ? "yes" : "no")
       << ",mux=" << def.mux << ",tslId=" << unsigned(def.tslId);
    if (!def.udn.empty())
        os << ",udn=" << def.udn;
    if (!def.valueDescription.empty()) {
        os << std::endl << "value description table" << std::endl;
        for (const auto& entry : def.valueDescription)
            os << entry.first << ": " << entry.second << std::endl;
    }
    return os;
}
