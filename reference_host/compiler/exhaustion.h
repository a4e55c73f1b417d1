// What happens when memory runs out inside the compiler. LLVM cannot cancel what it has begun, so the process ends,
// with one line that says what it was doing.
#pragma once

#include <llvm/Support/PrettyStackTrace.h>

#include <string>

namespace orva::compiler {

/// Makes the process end with status 1 when memory runs out during a `Work`. At any other time a failed allocation
/// throws as usual.
void watchMemory();

/// What the compiler is doing for this thread while the object exists; may be nested. LLVM notes its own steps in the
/// same list, which a bug report shows.
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

/// What ran out when an allocation failed: "Out of memory", or that the process ran out of memory mappings.
const char* lackOfMemory();

}  // namespace orva::compiler
