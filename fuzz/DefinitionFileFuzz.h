// DefinitionFileFuzz: the frame of the targets for the tool's definition
// formats (DBC, JSON): the text is read; when it reads, a bounded number of
// its definitions become signals in a set of their own, which is destroyed
// again, and a failed read must say where it failed.
//
// Thread safety: none; one input at a time.
#pragma once

#include "FuzzInput.h"
#include "FuzzSession.h"

#include "decode/SignalSet.h"

#include <string>
#include <vector>

namespace fuzz {

using namespace rksignal;

// Keeps the first `count` records of every kind: building thousands of
// signals per input would only slow the fuzzer down.
void keepFirst(DefinitionSet& set, size_t count);

// `read(text, set, error)` reads the definitions; `fileName` is the name it
// gives them, which every error text must start with.
template <class Read>
int fuzzDefinitions(const uint8_t* data, size_t size, const std::string& fileName, Read read)
{
    FuzzInput in(data, size);
    const Session session(in.byte());
    const std::string text = in.rest();
    DefinitionSet set;
    std::string error;
    if (!read(text, set, error)) {
        require(error.compare(0, fileName.size(), fileName) == 0, "an error names the file it is about");
        return 0;
    }
    keepFirst(set, 8);
    SignalSet signals;
    std::vector<std::string> problems;
    signals.build(set, problems);
    return 0;
}

} // namespace fuzz
