// The registry: names, identifiers, clearing and time-outs.
#include "signal/BaseSignal.h"
#include "support/OutputCapture.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <tuple>

namespace {

// Registers a signal under an identifier, as the bus classes do.
std::unique_ptr<BaseSignal> withId(const std::string& instance, unsigned long id, SignalStorage* storage)
{
    auto sig = std::make_unique<BaseSignal>(definitionOf(instance), false, storage);
    sig->id = id;
    storage->instancesById[id] = sig.get();
    return sig;
}

} // namespace

TEST(Registry, LookupsByNameAndIdentifier)
{
    SignalStorage storage;
    auto a = withId("a", 0x8000000000000000UL, &storage);
    auto b = withId("b", 0x4000000000000001UL, &storage);
    EXPECT_EQ(BaseSignal::getInstance("a", &storage), a.get());
    EXPECT_EQ(BaseSignal::getInstance(0x4000000000000001UL, &storage), b.get());
    EXPECT_EQ(BaseSignal::getInstance("c", &storage), nullptr);
    EXPECT_EQ(BaseSignal::getInstance(7UL, &storage), nullptr);
    EXPECT_EQ(BaseSignal::getInstance("a"), nullptr); // not in the default storage

    BaseSignal inDefault(definitionOf("registry_default"));
    EXPECT_EQ(inDefault.storage, &BaseSignal::defSignalStorage);
    EXPECT_EQ(BaseSignal::getInstance("registry_default", nullptr), &inDefault);
    EXPECT_EQ(BaseSignal::getAllInstances().count("registry_default"), 1u);

    a.reset();
    EXPECT_EQ(BaseSignal::getInstance("a", &storage), nullptr);
    EXPECT_EQ(BaseSignal::getInstance(0x8000000000000000UL, &storage), nullptr);
}

TEST(Registry, DuplicateNameKeepsTheFirstSignal)
{
    SignalStorage storage;
    OutputCapture capture;
    BaseSignal first(definitionOf("dup"), false, &storage);
    BaseSignal second(definitionOf("dup"), false, &storage);
    EXPECT_EQ(capture.out(), "[ERROR] BaseSignal::BaseSignal() dup already exists\n");
    EXPECT_EQ(BaseSignal::getInstance("dup", &storage), &first);
    second.write(1, 1); // the second one still works on its own slot
    EXPECT_EQ(first.slot->raw, 0xaaaaaaaau);
}

TEST(Registry, ClearAllAndClearByIdentifierIncludingMirrors)
{
    SignalStorage storage;
    auto a = withId("a", 11, &storage);
    auto b = withId("b", 12, &storage);
    auto c = withId("c", 11, &storage); // shares a's identifier
    for (auto* sig : {a.get(), b.get(), c.get()})
        sig->write(1, 5);

    BaseSignal::clear({11}, &storage);
    EXPECT_EQ(std::make_tuple(a->slot->valid, b->slot->valid, c->slot->valid), std::make_tuple(false, true, false));
    BaseSignal::clearAll(&storage);
    EXPECT_EQ(stateOf(*b), "invalid 0 @0 modified");
}

TEST(Registry, CheckTimeoutReportsOnlyValidStaleSignals)
{
    SignalStorage storage;
    std::vector<unsigned long> ids{99};
    EXPECT_FALSE(BaseSignal::checkTimeout(1000, ids, &storage));
    EXPECT_TRUE(ids.empty());

    auto old = withId("old", 1, &storage);
    auto edge = withId("edge", 2, &storage);
    auto fresh = withId("fresh", 3, &storage);
    auto never = withId("never", 4, &storage); // time stamp 0x55555555 but never written
    old->write(1, 10);
    edge->write(1, 1000);
    fresh->write(1, 2000);
    EXPECT_FALSE(BaseSignal::checkTimeout(1000, ids, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{1});
    EXPECT_FALSE(BaseSignal::checkTimeout(0x60000000, ids, &storage));
    EXPECT_EQ(ids, (std::vector<unsigned long>{2, 3, 1})); // name order: edge, fresh, old
}

TEST(Registry, MirrorSharesTheSlotAndRemovesTheParentEntries)
{
    SignalStorage storage;
    auto parent = withId("parent", 42, &storage);
    auto mirror = std::make_unique<BaseSignal>(parent.get());
    EXPECT_EQ(mirror->slot, parent->slot);
    EXPECT_EQ(mirror->id, 42u);
    EXPECT_EQ(mirror->storage, &storage);
    EXPECT_EQ(storage.instancesByName.size(), 1u); // the mirror files itself nowhere

    mirror->writeRaw(0x77, 9);
    EXPECT_EQ(stateOf(*mirror), "valid 77 @9 modified");
    EXPECT_EQ(stateOf(*parent), "valid 77 @9"); // modified is each object's own

    mirror.reset();
    EXPECT_EQ(BaseSignal::getInstance("parent", &storage), nullptr);
    EXPECT_EQ(BaseSignal::getInstance(42UL, &storage), nullptr);
    EXPECT_EQ(stateOf(*parent), "valid 77 @9"); // the slot is untouched

    OutputCapture capture;
    BaseSignal orphan(nullptr);
    EXPECT_EQ(capture.out(), "[ERROR] BaseSignal::BaseSignal() no parent\n");
    EXPECT_EQ(orphan.slot, nullptr);
}
