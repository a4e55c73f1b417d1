// The rules: what a native holds is given back first; inside the bridge a failure is raised once; outside of it, and
// out of the bridge's own raise, it leaves.
#include "foretelling.h"

#include "standard_library.h"

namespace faults {

std::string returned(intptr_t result) {
  if (result == asResult(nullptr)) return "returns 0";
  for (std::size_t number = 0; number < 8; ++number) {
    if (result == asResult(scripted::token(number))) return "returns object " + std::to_string(number);
  }
  return "returns " + std::to_string(result);
}

namespace {

/// A thrown object, as far as the rules look at it.
struct Object {
  std::optional<std::string> text;
  std::string description;
};

Object objectOf(Thrown kind, int number) { return {textOf(kind, number), described(kind, number)}; }

class Foretelling {
 public:
  Foretelling(const Path& path, const Course& course, const Fault& fault)
      : path_(path), course_(course), fault_(fault) {}

  Outcome told() {
    while (!over_) {
      if (isAt(Fault::Kind::allocation)) {
        failAllocation();
      } else if (next_ < course_.inside.size() + course_.outside.size()) {
        take();
      } else {
        end(course_.result, course_.name);
      }
    }
    return outcome_;
  }

 private:
  bool isAt(Fault::Kind kind) const { return fault_.kind == kind && outcome_.calls.size() == fault_.position; }

  void take() {
    const bool inside = next_ < course_.inside.size();
    const Step step = inside ? course_.inside[next_] : course_.outside[next_ - course_.inside.size()];
    const bool throws = isAt(Fault::Kind::thrown);
    const bool fails = isAt(Fault::Kind::error);
    ++next_;
    outcome_.completed = outcome_.calls.size();
    outcome_.calls.push_back(step.line);
    if (throws) return unwind(objectOf(fault_.object, 0), inside);
    if (fails) return failCall(step, inside);
    if (step.kind == Step::Kind::raise && raiseThrows()) {
      again_ = inside;
      return unwind(objectOf(fault_.raise->object, outcome_.raises), inside);
    }
    outcome_.completed = outcome_.calls.size();
    hold(step);
  }

  /// Counts a raise, and tells whether it throws.
  bool raiseThrows() {
    ++outcome_.raises;
    return fault_.raise && (fault_.raise->forGood || outcome_.raises == 1);
  }

  void hold(const Step& step) {
    if (step.kind == Step::Kind::lock) held_ = "unlock(gReflectionMutex)";
    if (step.kind == Step::Kind::attach) held_ = "closedir()";
    if (step.kind == Step::Kind::unlock || step.kind == Step::Kind::close) held_.clear();
  }

  void failCall(const Step& step, bool inside) {
    if (step.kind == Step::Kind::lock) {
      clean_ = false;  // the exception was made, and its text copied, in the library's turn
      return unwind({standard_library::lockFailure(fault_.error), "a std::system_error"}, inside);
    }
    if (step.kind == Step::Kind::close) held_.clear();
    course_ = step.otherwise(fault_.error);
    next_ = 0;
  }

  void failAllocation() {
    if (fault_.iterator == IteratorFailure::losesDirectory) {
      outcome_.losesDirectory = true;
      held_.clear();
    }
    if (fault_.iterator == IteratorFailure::endsProcess) {
      outcome_.endsProcess = true;
      outcome_.code = "ends";
      over_ = true;
      return;
    }
    // Between the last call inside and the first outside, it is the work inside that allocates.
    unwind({"std::bad_alloc", outOfMemory()}, path_.bridged && next_ <= course_.inside.size());
  }

  void unwind(const Object& object, bool inside) {
    if (!held_.empty()) outcome_.calls.push_back(held_);
    held_.clear();
    const Native& native = *path_.native;
    if (inside && object.text) return bridge(*object.text, "raises");
    if (inside && native.otherText) return bridge(*native.otherText, "fixed");
    leave(object, "leaves");
  }

  void bridge(const std::string& text, const std::string& code) {
    outcome_.calls.push_back(scripted::raised(*path_.native->exceptionClass, text));
    const bool throws = raiseThrows();
    if (clean_) outcome_.cleanRaises.insert(outcome_.raises);
    if (throws) return leave(objectOf(fault_.raise->object, outcome_.raises), again_ ? "again leaves" : "leaves");
    end(0, again_ ? (code == "raises" ? "again" : "again fixed") : code);
  }

  void leave(const Object& object, const std::string& code) {
    outcome_.ending = "throws " + object.description;
    outcome_.code = code;
    over_ = true;
  }

  void end(intptr_t result, const std::string& code) {
    outcome_.result = result;
    outcome_.ending = returned(result);
    outcome_.code = code;
    over_ = true;
  }

  const Path& path_;
  Course course_;
  const Fault& fault_;
  std::size_t next_ = 0;
  std::string held_;
  bool again_ = false;
  bool clean_ = true;
  bool over_ = false;
  Outcome outcome_;
};

}  // namespace

Outcome foretell(const Path& path, const Course& course, const Fault& fault) {
  return Foretelling(path, course, fault).told();
}

}  // namespace faults
