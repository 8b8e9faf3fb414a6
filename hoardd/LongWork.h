// Handlers whose work takes long.
#ifndef HOARDD_LONGWORK_H
#define HOARDD_LONGWORK_H

#include <exception>
#include <string>

#include "hoardd/Daemon.h"
#include "wickerlane/log/JXLog.h"

namespace hoardd {

/// Runs work on the library after the long work that was asked for before; `work` takes the library and gives
/// an empty text, or the reason for which it failed. The call is answered when it is done.
template <class Work>
void runLongWork(Daemon &daemon, const Call &call, Work work) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const bool taken = daemon.longWork().add({[call, library, work = std::move(work)] {
        std::string problem;
        try {
            problem = work(*library);
        } catch (const std::exception &failure) {
            problem = failure.what();
        }
        if (problem.empty())
            return call.answer(Answer());
        JX_LOG(JXLogLevelError, JXPhotosStateLog, "long work failed: %s", problem.c_str());
        call.refuse(problem);
    }});
    if (!taken)
        call.refuse("too much long work is waiting; try again later");
}

} // namespace hoardd

#endif
