// How much more a process whose address space is limited may map.
#pragma once

#include <cstddef>

namespace orva::runtime {

constexpr std::size_t mebibyte = std::size_t{1024} * 1024;

/// Whether the process may map only so many bytes.
bool isAddressSpaceLimited();

/// How many bytes can still be mapped, up to a number of interest. That number where the address space has no limit.
/// Whoever reserves a share of them leaves no less to others where there are more, so that what has run under one limit
/// runs under every higher one.
std::size_t remainingAddresses(std::size_t most);

/// Reserves addresses that nothing uses for now, and so no memory either.
/// @return null when there are not so many, or none are asked for.
void* reserveAddresses(std::size_t size);

}  // namespace orva::runtime
