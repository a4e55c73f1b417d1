// Keeps every value of the running program.
#include "reference_host/runtime/values.h"

#include <deque>
#include <mutex>
#include <string>
#include <utility>

namespace orva::runtime {

/// Values of one kind; a deque never moves what it holds.
template <typename Value>
class Pool {
 public:
  Value* add(Value value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return &values_.emplace_back(std::move(value));
  }

 private:
  std::mutex mutex_;
  std::deque<Value> values_;
};

/// The one pool for a kind of value. Never destroyed: threads may still run while the process ends.
template <typename Value>
static Pool<Value>& pool() {
  static auto* const values = new Pool<Value>();
  return *values;
}

const char* newText(std::string_view text) { return pool<std::string>().add(std::string(text))->c_str(); }

ArrayList* newList() { return pool<ArrayList>().add({}); }

Object* newObject(const Type& type) { return pool<Object>().add({&type}); }

Exception* newException(std::string_view className, std::string_view message, const SourceLocation* location) {
  return pool<Exception>().add({newText(className), newText(message), location});
}

}  // namespace orva::runtime
