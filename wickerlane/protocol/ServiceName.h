// The name of the daemon's service.
#ifndef WICKERLANE_PROTOCOL_SERVICENAME_H
#define WICKERLANE_PROTOCOL_SERVICENAME_H

#include "wickerlane/platform/object/Export.h"

/// The name of hoardd's gatekeeper service: "org.wickerlane.hoardd.Gatekeeper".
WL_EXTERN_C const char *const WickerlaneGatekeeperName;

#endif
