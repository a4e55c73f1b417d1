// How much more the process can map if its address space is limited.
#pragma once

#include <cstddef>

namespace orva::runtime {

constexpr std::size_t mebibyte = std::size_t{1024} * 1024;

/// Tells whether the address space of the process is limited.
bool isAddressSpaceLimited();

/// How many bytes can still be mapped, up to `most`; exactly `most` if the address space is unlimited. Callers that
/// reserve a share of the result leave no less to others under a higher limit, so that what runs under one limit runs
/// under every higher one.
std::size_t remainingAddresses(std::size_t most);

/// Reserves addresses without using any memory.
/// @return null if there are not enough addresses, or if `size` is 0.
void* reserveAddresses(std::size_t size);

}  // namespace orva::runtime
