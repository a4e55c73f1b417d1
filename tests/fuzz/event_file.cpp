// Any file must be read as a trace or refused, and nothing that is shown of it may control the terminal.
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "finding.h"
#include "reference_host/language/printable_text.h"
#include "target.h"
#include "tests/scripted_host/temporary_folder.h"
#include "tracing/events/clock.h"
#include "tracing/reader/chrome_trace.h"
#include "tracing/reader/filters.h"
#include "tracing/reader/html_page.h"
#include "tracing/reader/summary.h"
#include "tracing/reader/text_tree.h"

using namespace orva::tracing;

static void requirePrintable(const std::string& text) {
  require(orva::language::printable(text, "\n") == text, "the output could control the terminal: " + text);
}

static void show(Trace trace) {
  std::ostringstream shown;
  printTree(trace, {}, shown);
  printNotes(trace, {}, shown);
  printSummary(summaryOf({trace}), {}, shown);
  std::ostringstream json;
  writeChromeTrace({trace}, json);
  writeHtmlPage({trace}, json);
  keepMatching(trace, {{CallId::orva_SystemClassLoader_loadClass}, "a", 1});
  printTree(trace, {}, shown);
  requirePrintable(shown.str());
}

int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static const TemporaryFolder folder;
  const std::string path = folder.path("1-0.events");
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  Trace trace;
  try {
    trace = readTrace(path);
  } catch (const std::runtime_error& refused) {
    requirePrintable(refused.what());
    return 0;
  }
  show(trace);
  // As `--dump` reads it.
  show(readTrace(path, {monotonicTime(), {trace.process}}));
  return 0;
}
