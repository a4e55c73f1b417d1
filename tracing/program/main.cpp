// `orva-trace`: runs a program and shows what its class loaders did, or shows earlier records.
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "reference_host/language/printable_text.h"
#include "tracing/events/clock.h"
#include "tracing/program/failure.h"
#include "tracing/program/launch.h"
#include "tracing/program/options.h"
#include "tracing/program/output.h"
#include "tracing/program/program_file.h"
#include "tracing/program/trace_folder.h"
#include "tracing/reader/chrome_trace.h"
#include "tracing/reader/filters.h"
#include "tracing/reader/html_page.h"
#include "tracing/reader/summary.h"
#include "tracing/reader/text_tree.h"
#include "tracing/reader/trace.h"

namespace orva::tracing {

namespace {

using language::inQuotes;

/// All outputs, opened before the program runs so that a wrong path fails at once.
class Outputs {
 public:
  /// @param usual the standard stream for the text, unless a file is named
  Outputs(const Options& options, int usual) {
    if (options.wantsText()) {
      text_ = options.output.empty()
                  ? std::make_unique<Output>(usual, usual == STDOUT_FILENO ? "standard output" : "standard error")
                  : std::make_unique<Output>(options.output);
    }
    if (!options.json.empty()) json_ = std::make_unique<Output>(options.json);
    if (!options.html.empty()) html_ = std::make_unique<Output>(options.html);
    checkApart(text_.get(), json_.get());
    checkApart(text_.get(), html_.get());
    checkApart(json_.get(), html_.get());
  }

  /// Empties the files, when nothing more can be refused.
  void begin() const {
    for (const auto& output : {text_.get(), json_.get(), html_.get()}) {
      if (output != nullptr) output->begin();
    }
  }

  /// Returns false when something could not be written.
  bool write(const Options& options, const std::vector<Trace>& traces) {
    if (text_ != nullptr) writeText(options, traces);
    if (text_ == nullptr) reportNotes(traces);
    if (json_ != nullptr) writeChromeTrace(traces, json_->stream());
    if (html_ != nullptr) writeHtmlPage(traces, html_->stream());
    bool isWritten = true;
    for (const auto& output : {text_.get(), json_.get(), html_.get()}) {
      if (output != nullptr && !output->finish()) isWritten = false;
    }
    if (html_ != nullptr) reportLargePage();
    return isWritten;
  }

 private:
  /// The texts of browsers hold half a gibibyte.
  void reportLargePage() {
    constexpr std::uint64_t mostBytes = std::uint64_t{512} << 20;
    if (html_->size() < mostBytes) return;
    report("the page " + html_->name() + " has " + std::to_string(html_->size() >> 20) +
           " MB, more than browsers can read: leave calls out with --native, --name or --slower");
  }

  void writeText(const Options& options, const std::vector<Trace>& traces) {
    TreeStyle style;
    style.colours = text_->wantsColours();
    if (options.wantsSummary) {
      const Summary summary = summaryOf(traces);
      if (summary.natives.empty() && summary.neighbours.empty()) text_->stream() << "no calls\n";
      printSummary(summary, style, text_->stream());
    }
    for (const Trace& trace : traces) (options.wantsSummary ? printNotes : printTree)(trace, style, text_->stream());
  }

  static void checkApart(const Output* one, const Output* other) {
    if (one == nullptr || other == nullptr || !one->isSameFile(*other)) return;
    throw Failure(ownFailure, "two outputs go to one file: " + one->name() + " and " + other->name());
  }

  /// For outputs other than the tree and the summary, which contain the notes.
  static void reportNotes(const std::vector<Trace>& traces) {
    for (const Trace& trace : traces) {
      for (const std::string& note : notesOf(trace)) report("process " + std::to_string(trace.process) + ": " + note);
    }
  }

  std::unique_ptr<Output> text_;
  std::unique_ptr<Output> json_;
  std::unique_ptr<Output> html_;
};

struct Recorded {
  std::vector<Trace> traces;  ///< in the order in which their processes started
  bool isWhole = true;
};

/// Reads traces. Reports one that cannot be read, and leaves it out.
Recorded readAll(const std::vector<std::string>& paths) {
  Recorded recorded;
  const std::map<std::string, std::set<std::uint32_t>> writers = currentWriters();
  for (const std::string& path : paths) {
    try {
      std::error_code ignored;
      const auto found = writers.find(std::filesystem::canonical(path, ignored).string());
      const std::set<std::uint32_t> processes = found == writers.end() ? std::set<std::uint32_t>() : found->second;
      recorded.traces.push_back(readTrace(path, {monotonicTime(), processes}));
    } catch (const std::exception& failure) {
      report(failure);
      recorded.isWhole = false;
    }
  }
  std::sort(recorded.traces.begin(), recorded.traces.end(),
            [](const Trace& one, const Trace& other) { return one.startOfDay < other.startOfDay; });
  return recorded;
}

/// Removes the processes in which no class-loading library was seen. Reports those that link one statically; if no
/// other process remains, reports the program.
void dropUnattached(Recorded& recorded, const std::string& program) {
  std::vector<Trace>& traces = recorded.traces;
  std::set<std::string> unseen;
  // A program that also links the C library statically leaves no trace.
  if (traces.empty() && recorded.isWhole) unseen.insert(program);
  const auto isUnattached = [](const Trace& trace) { return trace.attached == Attached::notYet; };
  for (const Trace& trace : traces) {
    if (isUnattached(trace)) unseen.insert(trace.program);
  }
  traces.erase(std::remove_if(traces.begin(), traces.end(), isUnattached), traces.end());
  // One that has a recorder inside gets the preloaded one too, which sees nothing.
  for (const Trace& trace : traces) unseen.erase(trace.program);
  bool isTold = !traces.empty() || !recorded.isWhole;
  for (const std::string& each : unseen) {
    if (!hasLibraryInside(each)) continue;
    report(inQuotes(each) + ": this program links the library statically: link orva::classloader_traced instead");
    isTold = true;
  }
  if (!isTold) report("no class-loading library was seen in " + inQuotes(program));
}

/// Reports how many processes still run after the first one has ended.
void reportRunning(const std::vector<std::string>& paths, const Options& options) {
  std::size_t count = 0;
  for (const auto& [path, processes] : currentWriters()) {
    if (std::find(paths.begin(), paths.end(), path) != paths.end()) count += processes.size();
  }
  if (count == 0) return;
  report("processes that still run: " + std::to_string(count) + "; their calls from now on are " +
         (options.keep.empty() ? "lost: record them with --keep" : "in " + inQuotes(options.keep)));
}

/// Reads the traces of a run. Reports failures without throwing, so that orva-trace still ends with the program's
/// status.
Recorded recordedIn(const std::string& folder, const Options& options) {
  try {
    const std::vector<std::string> paths = tracesIn(folder);
    if (paths.empty()) checkWritable(folder);
    Recorded recorded = readAll(paths);
    reportRunning(paths, options);
    return recorded;
  } catch (const std::exception& failure) {
    report(failure);
    return {{}, false};
  }
}

/// Returns false when something could not be written, or no process is left to show.
bool show(const Options& options, Recorded recorded, const std::string& program, Outputs& outputs) {
  std::vector<Trace>& traces = recorded.traces;
  // A copy, because the trace that it comes from may be dropped.
  const std::string first = program.empty() && !traces.empty() ? traces.front().program : program;
  dropUnattached(recorded, first);
  for (Trace& trace : traces) keepMatching(trace, options.filter);
  return outputs.write(options, traces) && !traces.empty();
}

[[noreturn]] void runAndShow(const Options& options) {
  const std::string program = checkedProgram(options.command.front());
  Outputs outputs(options, STDERR_FILENO);
  const Signals signals;
  Ended ended;
  Recorded recorded;
  {
    const TraceFolder folder(options.keep);
    outputs.begin();
    ended = runTraced({program, options.command, folder.path(), options.limit, options.follows}, signals);
    recorded = recordedIn(folder.path(), options);
  }
  // The folder is removed, so signals may end orva-trace again: the reader of an output can block it forever.
  signals.letEnd();
  try {
    show(options, std::move(recorded), program, outputs);
  } catch (const std::exception& failure) {
    report(failure);
  }
  endAs(ended);
}

int showRecorded(const Options& options) {
  std::signal(SIGPIPE, SIG_IGN);
  std::vector<std::string> paths;
  if (options.dump != 0) {
    paths = tracesToDump(options.dump);
  } else {
    paths = tracesIn(options.read);
    if (paths.empty()) throw Failure(ownFailure, inQuotes(options.read) + " contains no traces");
  }
  Outputs outputs(options, STDOUT_FILENO);
  outputs.begin();
  return show(options, readAll(paths), {}, outputs) ? 0 : ownFailure;
}

int runMain(int argc, char** argv) {
  try {
    const Options options = parseOptions(argc, argv);
    if (options.command.empty()) return showRecorded(options);
    runAndShow(options);
  } catch (const Failure& failure) {
    report(failure);
    return failure.status;
  } catch (const std::exception& failure) {
    report(failure);
    return ownFailure;
  }
}

}  // namespace
}  // namespace orva::tracing

int main(int argc, char** argv) { return orva::tracing::runMain(argc, argv); }
