// The hooks of the faulty host.
#pragma once

#include "host_contract/hooks.h"

namespace faulty_host {

orva::host_contract::Hooks& hooks();

}  // namespace faulty_host
