// What becomes of the process when memory runs out inside the compiler. LLVM cannot give up what it has begun, so the
// process ends, with one line that says what it was at.
#pragma once

#include <llvm/Support/PrettyStackTrace.h>

#include <string>

namespace orva::compiler {

/// Has the process end with status 1 when memory runs out while a `Work` lasts. At any other time an allocation that
/// fails throws, as ever.
void watchMemory();

/// What this thread asks of the compiler for as long as the object lives; works may lie inside each other. LLVM notes
/// its own steps in the same list, which a report of a defect shows.
class Work : public llvm::PrettyStackTraceEntry {
 public:
  /// @param name as in "Out of memory while NAME".
  explicit Work(std::string name);
  ~Work() override;
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;

  const char* name() const { return name_.c_str(); }
  void print(llvm::raw_ostream& out) const override;

 private:
  const std::string name_;
  const Work* outer_;
};

/// What has run out when an allocation fails: "Out of memory", or the same of the process's memory mappings.
const char* lackOfMemory();

}  // namespace orva::compiler
