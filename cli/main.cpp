// rksignal: the command-line face of the signal library.
#include "cli/Commands.h"
#include "version.h"

#include <CLI/CLI.hpp>

int main(int argc, char** argv)
{
    CLI::App app{"rksignal: decode vehicle bus recordings into signal values with librksignal, and watch them live"};
    app.footer("Run 'rksignal COMMAND --help' for a command's options and examples.");
    app.require_subcommand(1);
    app.set_version_flag("--version", "rksignal " RKSIGNAL_VERSION);
    const auto commands = rksignal::Commands::create();
    for (const auto& command : commands) {
        rksignal::Command* chosen = command.get();
        command->add(app).callback([chosen] { throw CLI::RuntimeError(chosen->run()); });
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& done) {
        return done.get_exit_code();
    } catch (const CLI::ParseError& error) {
        const int status = app.exit(error);
        return status == 0 ? 0 : 2;
    }
    return 0;
}
