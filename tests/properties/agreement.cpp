// Compares what the library does with what the rules say, and reports differences.
#include "agreement.h"

#include "model.h"
#include "play.h"

namespace model {

static const Story* inPlay = nullptr;

namespace {

class InPlay {
 public:
  explicit InPlay(const Story& story) { inPlay = &story; }
  ~InPlay() { inPlay = nullptr; }
  InPlay(const InPlay&) = delete;
  InPlay& operator=(const InPlay&) = delete;
};

}  // namespace

const Story* storyInPlay() { return inPlay; }

/// Returns a line of the record, with bytes that are not printable escaped as in `quoted`.
static std::string printable(const std::string& line) {
  std::string shown;
  for (const char byte : line) {
    const bool isPlain = byte >= ' ' && byte <= '~';
    const std::string escaped = quoted(std::string(1, byte));
    shown += isPlain ? std::string(1, byte) : escaped.substr(1, escaped.size() - 2);
  }
  return shown;
}

std::string textOf(const Outcome& outcome) {
  std::string text;
  for (const std::string& call : outcome.calls) text += "  " + printable(call) + '\n';
  text += "  result: " + printable(outcome.result) + '\n';
  if (outcome.ownPointer) text += "  the last type lookup got the caller's own pointer\n";
  return text;
}

static std::string report(const Story& story, const Call& call, const std::string& expectation,
                          const std::string& observation) {
  return "The library does not do what the rules say.\n\nThe call:\n  " + textOf(call) + "\n\nexpected:\n" +
         expectation + "\nobserved:\n" + observation + "\nPlay it again:\n" + commandFor(story);
}

std::string commandFor(const Story& story) { return ORVA_PROPERTIES_PROGRAM " --world '\n" + textOf(story) + "'\n"; }

std::string disagreement(const Story& story) {
  const InPlay mark(story);
  World ofRules = story.world;
  World ofLibrary = story.world;
  for (const Call& call : story.calls) {
    const Outcome expectation = expected(ofRules, call);
    const Outcome observation = observed(ofLibrary, call);
    if (!(expectation == observation)) return report(story, call, textOf(expectation), textOf(observation));
  }
  return "";
}

}  // namespace model
