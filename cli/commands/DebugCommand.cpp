// wickerlane debug
#include "cli/Subcommands.h"

namespace wickerlane::cli {

void setUpDebug(Command command) {
    command.requireSubcommand();
    command.footer("Examples:\n"
                   "  wickerlane debug uuid --count 3\n"
                   "  wickerlane debug text SELECT_PHOTOS --language pt-BR");
    for (const Subcommand &each : debugSubcommands)
        each.setUp(command.addSubcommand(each.name, each.summary));
}

} // namespace wickerlane::cli
