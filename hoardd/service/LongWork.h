// Handlers whose work goes on after they have returned.
#ifndef HOARDD_SERVICE_LONGWORK_H
#define HOARDD_SERVICE_LONGWORK_H

#include <exception>
#include <string>

#include "hoardd/Daemon.h"
#include "wickerlane/log/JXLog.h"

namespace wickerlane::hoardd {

/// Runs `work`, which answers the call, in a queue. The call is refused with `whenFull` when the queue takes
/// no more, and with what the work throws.
template <class Work>
void runIn(JobQueue &queue, const Call &call, const char *whenFull, Work work) {
    const bool taken = queue.add({[call, work = std::move(work)] {
        try {
            work();
        } catch (const std::exception &failure) {
            JX_LOG(JXLogLevelError, JXPhotosStateLog, "work failed: %s", failure.what());
            call.refuse(failure.what());
        }
    }});
    if (!taken)
        call.refuse(whenFull);
}

/// Runs work that may take a while beside the saves; it answers the call.
template <class Work>
void runJob(Daemon &daemon, const Call &call, Work work) {
    runIn(daemon.jobs(), call, "too many jobs are waiting; try again later", std::move(work));
}

/// Runs work on the library after the long work that was asked for before; `work` takes the library and gives
/// an empty text, or the reason for which it failed. The call is answered when it is done.
template <class Work>
void runLongWork(Daemon &daemon, const Call &call, Work work) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    runIn(daemon.longWork(), call, "too much long work is waiting; try again later",
          [call, library, work = std::move(work)] {
              const std::string problem = work(*library);
              if (!problem.empty())
                  JX_LOG(JXLogLevelError, JXPhotosStateLog, "long work failed: %s", problem.c_str());
              call.finish(problem);
          });
}

} // namespace wickerlane::hoardd

#endif
