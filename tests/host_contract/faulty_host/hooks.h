// The hooks of the faulty host.
#pragma once

#include <optional>

#include "host_contract/hooks.h"

namespace faulty_host {

orva::host_contract::Hooks& hooks();

/// Takes the pending exception from the place where this host keeps it.
std::optional<orva::host_contract::Raised> takePending();

}  // namespace faulty_host
