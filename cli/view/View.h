// What `wickerlane view` does is in a module of its own, which this subcommand alone loads: it needs
// libraries whose loading takes longer than a short command.
#ifndef CLI_VIEW_VIEW_H
#define CLI_VIEW_VIEW_H

#include <cstdint>

#include "cli/ExitCode.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

struct ViewOptions {
    std::uint64_t port = 0; ///< 0 for any that is free.
    bool readOnly = false;
    bool noOpen = false;
};

/// Prints the address and serves it until Ctrl-C. Sets how that ended.
using ServeView = void(const ViewOptions &options, Result<ExitCode> &ended);

/// The function of the module, and the module's file from the folder of libwickerlane.so on.
inline constexpr const char *serveViewName = "wickerlane_serve_view";
inline constexpr const char *viewModuleName = "wickerlane/wickerlane-view.so";

} // namespace wickerlane::cli

#endif
