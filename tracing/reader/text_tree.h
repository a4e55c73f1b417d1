// A trace as text: each call a line, and below it what it called.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "tracing/reader/trace.h"

namespace orva::tracing {

struct TreeStyle {
  std::size_t columns = 80;  ///< at least 60
  bool colours = false;      ///< by the escape sequences of terminals
};

/// Prints the process, the calls of each thread with what they called, and below each native that returned null, raised
/// or threw a sentence that explains it; at the end, the notes. Long texts are cut in their middle, but for what is
/// raised and the sentences, which go on in further lines. Control characters are escaped.
void printTree(const Trace& trace, const TreeStyle& style, std::ostream& out);

/// What the trace does not show, a sentence each: why it ended early, what was lost, what could not be seen.
std::vector<std::string> notesOf(const Trace& trace);

/// Prints the notes, as `printTree` does at its end.
void printNotes(const Trace& trace, const TreeStyle& style, std::ostream& out);

/// What an event is called, without its arguments: a call by its name, a scan, a walk of the table.
std::string nameOf(const Event& event);

/// What the tree says of an event in its line, whole and printable; it begins with the event's name.
std::string eventText(const Event& event);

/// How a call ended, other than with a result: `raised ClassNotFoundException`, `threw std::bad_alloc`; empty for one
/// that returned.
std::string endingOf(const Event& event);

}  // namespace orva::tracing
