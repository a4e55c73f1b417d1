// String arguments and other strings from the host: NUL-terminated, and null where the language has none.
// The functions are `static` so that each source has a copy of its own and none is exported.
#pragma once

/// Tells whether a string that a native requires is null or empty.
static inline bool isMissing(const char* text) { return text == nullptr || *text == '\0'; }

/// Reads null as the empty string.
static inline const char* orEmpty(const char* text) { return text != nullptr ? text : ""; }
