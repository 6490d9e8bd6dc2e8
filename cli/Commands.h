// Commands: every command of `rksignal`, in the order its help lists them.
// Adding a command is one source file with a Command, one line in
// Commands.cpp and one in cli/CMakeLists.txt.
#pragma once

#include "cli/Command.h"

#include <memory>
#include <vector>

namespace rksignal {

class Commands {
public:
    static std::vector<std::unique_ptr<Command>> create();
};

} // namespace rksignal
