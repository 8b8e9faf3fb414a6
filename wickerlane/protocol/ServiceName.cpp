#include "wickerlane/protocol/ServiceName.h"

const char *const WickerlaneGatekeeperName = "org.wickerlane.hoardd.Gatekeeper";
