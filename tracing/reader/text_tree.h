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

/// Prints the process, and the calls of each thread with the calls nested in them. Below each native that returned
/// null, raised or threw, prints a sentence that explains it; at the end, the notes. Long texts are cut in the middle;
/// the sentences and the texts of raises are wrapped instead. Control characters are escaped.
void printTree(const Trace& trace, const TreeStyle& style, std::ostream& out);

/// One sentence for each thing that the trace does not show: why it ended early, what was lost, what was not seen.
std::vector<std::string> notesOf(const Trace& trace);

/// Prints the notes, as `printTree` does at its end.
void printNotes(const Trace& trace, const TreeStyle& style, std::ostream& out);

/// The program and its arguments, as a shell would take them; empty where neither is known.
std::string commandOf(const Trace& trace);

/// The name of an event, without its arguments.
std::string nameOf(const Event& event);

/// The line of an event in the tree, uncut and printable; it begins with the event's name.
std::string eventText(const Event& event);

/// How an event ended, other than with a result: `raised ClassNotFoundException`, `threw std::bad_alloc`; empty for one
/// that returned.
std::string endingOf(const Event& event);

}  // namespace orva::tracing
