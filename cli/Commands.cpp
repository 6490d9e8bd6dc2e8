#include "cli/Commands.h"

#include "cli/CheckCommand.h"
#include "cli/ConvertCommand.h"
#include "cli/CutCommand.h"
#include "cli/DecodeCommand.h"
#include "cli/EventsCommand.h"
#include "cli/WatchCommand.h"

namespace rksignal {

std::vector<std::unique_ptr<Command>> Commands::create()
{
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<DecodeCommand>());
    commands.push_back(std::make_unique<CutCommand>());
    commands.push_back(std::make_unique<WatchCommand>());
    commands.push_back(std::make_unique<CheckCommand>());
    commands.push_back(std::make_unique<EventsCommand>());
    commands.push_back(std::make_unique<ConvertCommand>());
    return commands;
}

} // namespace rksignal
