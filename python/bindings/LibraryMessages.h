// LibraryMessages: the signal library's message sink inside Python. Its
// lines go to standard error, so that a notebook's or a script's standard
// output carries only what the caller prints; and a fault after which the
// library cannot go on becomes a LibraryFault exception (rksignal.Error in
// Python) instead of the end of the interpreter.
//
// Installed once when the module is imported; thread-safe as MessageSink is.
#pragma once

#include "signal/MessageSink.h"

#include <stdexcept>

namespace rksignal {

class LibraryFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class LibraryMessages : public MessageSink {
public:
    std::ostream& stream(MessageStream destination) override;
    [[noreturn]] void fatal(int status, const std::string& text) override;

    // Installs the one sink of the module and the translation of its faults.
    static void install();
};

} // namespace rksignal
