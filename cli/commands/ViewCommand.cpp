// wickerlane view
#include <dlfcn.h>
#include <fmt/format.h>

#include "cli/DaemonRequests.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "cli/view/View.h"
#include "wickerlane/platform/file/DataFolders.h"

namespace wickerlane::cli {
namespace {

Result<ExitCode> view(const ViewOptions &options) {
    const std::string path = fmt::format("{}/{}", libraryFolder(), viewModuleName);
    void *const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void *const serve = module != nullptr ? ::dlsym(module, serveViewName) : nullptr;
    if (serve == nullptr)
        return fail(ProblemKind::failed,
                    localized("a part of this command can't be loaded: {}. Install wickerlane again, whole",
                              ::dlerror()));
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    speakEnglish(); // the page has its own texts
    Result<ExitCode> ended = ExitCode::failure;
    reinterpret_cast<ServeView *>(serve)(options, ended);
    return ended;
}

} // namespace

void setUpView(Command command) {
    command.footer("The page is served to this machine alone, at an address that is good for one browser. To "
                   "open another\n"
                   "browser, run the command again. Ctrl-C ends it.\n\n"
                   "Examples:\n"
                   "  wickerlane view\n"
                   "  wickerlane view --read-only --port 8080 --no-open");
    ViewOptions &options = command.runs(view);
    command.addFlag("--read-only", options.readOnly, "Refuse all changes of the library");
    command.addOption("--port", options.port, "Port to listen on (default: any that is free)")
        .typeName("PORT")
        .between(1, 65535);
    command.addFlag("--no-open", options.noOpen, "Print the address, but do not open a browser");
}

} // namespace wickerlane::cli
