// The host as the plug-in calls it: every entry point is a slot, filled through the host's resolver on first use.
#pragma once

#include "contract/handles.h"
#include "contract/host.h"
#include "contract/records.h"
#include "contract/slot.h"

// Gives the address of an entry point by its name, or null.
using REALResolver = void* (*)(const char* name);

// Written once, when the host loads the plug-in.
extern REALResolver gResolver;
extern double rbversion_rbversion;  // 0.0 in a host that doesn't tell its version

namespace host {

using EntryPointName = const char*;
inline void* FindEntryPoint(const EntryPointName& name) { return gResolver(name); }

#define STARTUP(wrapper, name, result, arguments)
#define ENTRY_POINT(wrapper, name, result, arguments) \
  inline constinit Slot<FindEntryPoint, result arguments> wrapper{name};
#include "contract/entry_points.def"

}  // namespace host
