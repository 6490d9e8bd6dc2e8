// Fuzz target: DBC text through the tool's DBC reader; what it reads becomes
// CAN signals (multiplexed ones filed under their multiplexer values).
#include "DefinitionFileFuzz.h"

#include "definitions/DbcDefinitions.h"
#include "definitions/DbcReader.h"

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::fuzzDefinitions(data, size, "fuzz.dbc", [](const std::string& text, DefinitionSet& set,
                                                            std::string& error) {
        DbcDatabase database;
        if (!DbcReader::parse(text, "fuzz.dbc", database, error))
            return false;
        for (const DbcMessage& message : database.messages)
            for (const DbcSignal& signal : message.signals)
                fuzz::require(signal.length >= 1 && signal.length <= 64, "signals hold 1 to 64 bits");
        DbcDefinitions::append(database, 1, set);
        return true;
    });
}
