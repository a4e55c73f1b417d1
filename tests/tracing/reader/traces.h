// Traces for the reader's tests, and where their files are.
#pragma once

#include <string>

#include "tests/tracing/event_writer.h"
#include "tracing/reader/trace.h"

namespace orva::tracing {

// The calls in most traces of the tests.
constexpr auto getTypeByName = CallId::orva_ClassLoader_getTypeByName;
constexpr auto getSystem = CallId::orva_ClassLoader_getSystem;
constexpr auto loadClass = CallId::orva_SystemClassLoader_loadClass;
constexpr auto loadSource = CallId::Compiler_ensureSourceLoadedInActiveJit;

/// A path in a folder of this process, which is removed when it ends.
std::string temporaryPath();

/// Reads the file that a writer saves.
Trace traceOf(const EventWriter& writer, const Writers& writers = {});

/// A trace with each kind of record and of value in it.
EventWriter everyKindOfRecord();

}  // namespace orva::tracing
