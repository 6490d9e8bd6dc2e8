// Fuzz target: JSON definitions through the tool's reader; what it reads
// becomes signals of every kind.
#include "DefinitionFileFuzz.h"

#include "definitions/JsonDefinitions.h"

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::fuzzDefinitions(data, size, "fuzz.json",
                                 [](const std::string& text, DefinitionSet& set, std::string& error) {
                                     return JsonDefinitions::parse(text, "fuzz.json", set, error);
                                 });
}
