// Construction, destruction, registry and print form of BaseSignal.
#include "signal/BaseSignal.h"

#include "signal/MessageLine.h"
#include "util/printTime.h"

#include <algorithm>
#include <cstring>

int BaseSignal::debug = 0;
bool BaseSignal::detachOnly = false;
bool BaseSignal::onlyReceivedBits = false;
unsigned long BaseSignal::instanceCounter = 0;
SignalStorage BaseSignal::defSignalStorage;

namespace {

SignalStorage& resolve(SignalStorage* storage)
{
    return storage ? *storage : BaseSignal::defSignalStorage;
}

} // namespace

BaseSignal::BaseSignal(const baseSignalDef_t& definition, bool shmem, SignalStorage* storage)
    : privateSlot{}, initSmData(true), key(0), shmId(-1), shmem(shmem), slot(&privateSlot), modified(false),
      value(0.0), def(definition), id(0), storage(&resolve(storage)), d_lsbBit(0), d_startByte(0), d_bytes(0),
      d_shift(0), d_maksBits(0), d_signBit(0), d_rawMask(0)
{
    // The earlier signal of a name stays reachable; this one is built anyway.
    if (!this->storage->instancesByName.emplace(def.instance, this).second)
        MessageLine::write(MessageStream::Output, MessageLine::Error, "BaseSignal", "BaseSignal", def.instance,
                           " already exists");

    if (shmem)
        createSharedMemory();
    if (initSmData)
        initialiseSlot();
    cInit();

    if (debug) {
        MessageLine::debug("BaseSignal", "BaseSignal", def.instance, " created ", shmem ? "(shared memory)" : "");
        MessageLine::debug("BaseSignal", "BaseSignal", *this);
    }
}

BaseSignal::BaseSignal(BaseSignal* parent)
    : privateSlot{}, initSmData(false), key(0), shmId(-1), shmem(false), slot(nullptr), modified(false),
      value(0.0), def(), id(0), storage(nullptr), d_lsbBit(0), d_startByte(0), d_bytes(0), d_shift(0),
      d_maksBits(0), d_signBit(0), d_rawMask(0)
{
    if (parent == nullptr) {
        MessageLine::write(MessageStream::Output, MessageLine::Error, "BaseSignal", "BaseSignal", "no parent");
        return;
    }
    id = parent->id;
    def = parent->def;
    shmem = parent->shmem;
    slot = parent->slot;
    storage = parent->storage;

    if (debug) {
        MessageLine::debug("BaseSignal", "BaseSignal", "child ", def.instance, " created ",
                           shmem ? "(shared memory)" : "");
        MessageLine::debug("BaseSignal", "BaseSignal", *this);
    }
}

BaseSignal::~BaseSignal()
{
    // By key: whatever is registered under this name and identifier goes,
    // which for a mirror means its parent's entries.
    if (storage) {
        storage->instancesByName.erase(def.instance);
        storage->instancesById.erase(id);
    }
    releaseSharedMemory();
}

void BaseSignal::initialiseSlot()
{
    if (slot == &privateSlot) {
        fillSlot();
        return;
    }
    // A process that found the segment and waited too long for us may have
    // set the slot up already (createSharedMemory). The slot lock orders the
    // two set-ups; only the first one fills the slot, so a value written
    // after it is never wiped.
    lock();
    if (!slotIsSetUp(*slot))
        fillSlot();
    unlock();
}

void BaseSignal::fillSlot()
{
    std::memset(slot->name, 0, sizeof slot->name);
    std::memcpy(slot->name, def.signal.data(), std::min(def.signal.size(), sizeof slot->name - 1));
    slot->valid = false;
    // Fill patterns that mark a slot that was never written.
    slot->raw = 0xaaaaaaaa;
    slot->timestamp = 0x55555555;
    markSlotSetUp(*slot);
}

std::string BaseSignal::getUnit() const { return def.unit; }
double BaseSignal::getScaleFactor() const { return def.scale; }
double BaseSignal::getOffset() const { return def.offset; }
uint8_t BaseSignal::getBits() const { return def.bits; }
signalValue_t BaseSignal::getType() const { return def.type; }
bool BaseSignal::isModified() { return modified; }

std::string BaseSignal::getValueDescription(unsigned long raw) const
{
    const auto entry = def.valueDescription.find(raw);
    return entry == def.valueDescription.end() ? std::string() : entry->second;
}

BaseSignal* BaseSignal::getInstance(const std::string& instance, SignalStorage* storage)
{
    const auto& byName = resolve(storage).instancesByName;
    const auto entry = byName.find(instance);
    return entry == byName.end() ? nullptr : entry->second;
}

BaseSignal* BaseSignal::getInstance(unsigned long id, SignalStorage* storage)
{
    const auto& byId = resolve(storage).instancesById;
    const auto entry = byId.find(id);
    return entry == byId.end() ? nullptr : entry->second;
}

std::map<std::string, BaseSignal*>& BaseSignal::getAllInstances()
{
    return defSignalStorage.instancesByName;
}

void BaseSignal::clearAll(SignalStorage* storage)
{
    for (auto& entry : resolve(storage).instancesByName)
        entry.second->clear();
}

void BaseSignal::clear(const std::vector<unsigned long>& ids, SignalStorage* storage)
{
    const auto& byName = resolve(storage).instancesByName;
    for (unsigned long wanted : ids)
        for (const auto& entry : byName)
            if (entry.second->id == wanted)
                entry.second->clear();
}

bool BaseSignal::checkTimeout(unsigned long limit, std::vector<unsigned long>& ids, SignalStorage* storage)
{
    ids.clear();
    for (const auto& entry : resolve(storage).instancesByName) {
        unsigned long raw = 0;
        unsigned long timestamp = 0;
        if (entry.second->read(raw, timestamp) && timestamp < limit)
            ids.push_back(entry.second->id);
    }
    return false;
}

std::ostream& operator<<(std::ostream& os, const BaseSignal& signal)
{
    const signalSlot_t& slot = *signal.slot;
    os << std::dec << std::boolalpha << "instance=" << signal.def.instance << ",signal=" << signal.def.signal
       << ",shmem=" << signal.shmem << ",valid=" << slot.valid << ",value=" << signal.value << " (0x" << std::hex
       << slot.raw << ")" << ",timestamp=";
    printTime(os, slot.timestamp);
    os << " (0x" << std::hex << slot.timestamp << ")" << std::dec;
    return os;
}
