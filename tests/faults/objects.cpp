// Making, and recognising, what a failing host throws.
#include "objects.h"

#include <cstddef>
#include <exception>
#include <new>
#include <stdexcept>
#include <typeinfo>

#include "scripted_host.h"

namespace faults {

static constexpr std::size_t kLong = 100'000;

static std::string longText(int number) {
  std::string text = "failure " + std::to_string(number) + ' ';
  return text.append(kLong - text.size(), 'x');
}

std::optional<std::string> textOf(Thrown kind, int number) {
  switch (kind) {
    case Thrown::message: return "failure " + std::to_string(number);
    case Thrown::emptyMessage: return "";
    case Thrown::longMessage: return longText(number);
    case Thrown::noException: break;
  }
  return std::nullopt;
}

void throwObject(Thrown kind, int number) {
  if (kind == Thrown::noException) throw number;
  const std::string text = *textOf(kind, number);
  if (kind == Thrown::longMessage) throw scripted::CustomFailure(text);
  throw std::runtime_error(text);
}

static std::string described(const std::type_info& type, const std::string& text) { return type.name() + (' ' + text); }

std::string described(Thrown kind, int number) {
  if (kind == Thrown::noException) return described(typeid(int), std::to_string(number));
  const std::type_info& type =
      kind == Thrown::longMessage ? typeid(scripted::CustomFailure) : typeid(std::runtime_error);
  return described(type, *textOf(kind, number));
}

std::string caught() {
  try {
    throw;
  } catch (const std::exception& failure) {
    return described(typeid(failure), failure.what());
  } catch (int number) {
    return described(typeid(int), std::to_string(number));
  } catch (...) {
    return "an object of a type that nothing here throws";
  }
}

std::string outOfMemory() { return described(typeid(std::bad_alloc), "std::bad_alloc"); }

}  // namespace faults
