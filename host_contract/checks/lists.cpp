// Lists: the two entry points that read an `ArrayList` of `String`.
#include <sys/wait.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "host_contract/check.h"
#include "host_contract/checks/apart.h"
#include "host_contract/host.h"

namespace orva::host_contract {

static std::string elementOf(void* list, int64_t index) {
  const char* text = orva_collections_ArrayList_operator_index(list, index);
  return text == nullptr ? "null" : "'" + std::string(text) + "'";
}

static void sizesCountTheElements(Trial& trial) {
  // The last four do not fit in 8 bits or in 16 bits, signed or unsigned.
  for (const int64_t size : {0, 1, 3, 200, 1000, 40'000, 70'000}) {
    void* const list = trial.hooks.newStringList(std::vector<const char*>(static_cast<std::size_t>(size), "element"));
    expect(list != nullptr, "the hook newStringList returned null");
    const int64_t counted = orva_collections_ArrayList_size(list);
    expect(counted == size, "a list of " + std::to_string(size) + " elements has size " + std::to_string(counted));
  }
}

static void elementsComeInOrder(Trial& trial) {
  void* const list = trial.hooks.newStringList({"first", "second", "third"});
  const std::string seen = elementOf(list, 0) + ", " + elementOf(list, 1) + ", " + elementOf(list, 2);
  expect(seen == "'first', 'second', 'third'", "the elements are " + seen);
}

/// What an element of a long list is, or the exception that asking for it threw.
static std::string elementOfLongList(void* list, int64_t index) {
  try {
    return elementOf(list, index);
  } catch (const std::exception& failure) {
    return std::string("an exception, ") + failure.what();
  }
}

static void elementsOfLongListsAreReached(Trial& trial) {
  std::vector<std::string> texts;
  for (int element = 0; element < 70'000; ++element) texts.push_back(std::to_string(element));
  std::vector<const char*> elements;
  for (const std::string& text : texts) elements.push_back(text.c_str());
  void* const list = trial.hooks.newStringList(elements);
  for (const int64_t index : {127, 128, 255, 256, 32'767, 32'768, 65'535, 65'536, 69'999}) {
    const std::string seen = elementOfLongList(list, index);
    expect(seen == "'" + std::to_string(index) + "'",
           "element " + std::to_string(index) + " of a list of 70000 elements, each its own index, is " + seen);
  }
}

static void nullElementsComeAsNull(Trial& trial) {
  void* const list = trial.hooks.newStringList({"before", nullptr, "behind"});
  expect(orva_collections_ArrayList_operator_index(list, 1) == nullptr, "a null element is " + elementOf(list, 1));
}

static void emptyStringsComeAsEmptyStrings(Trial& trial) {
  void* const list = trial.hooks.newStringList({"before", "", "behind"});
  expect(elementOf(list, 1) == "''", "an empty element is " + elementOf(list, 1));
}

/// Tells whether the host cuts an index to the bits below a power of two, and so reads the first element. The index is
/// outside the list, so the host may do anything else with it, even crash or loop.
static bool readsTheFirst(void* list, int64_t power) {
  // Not 1, because sanitizers end a process with that status when it reads outside of a list.
  constexpr int yes = 99;
  const int status = doneApart(1, [&] {
    const char* text = ::orva_collections_ArrayList_operator_index(list, power);
    return text != nullptr && std::strcmp(text, "first") == 0 ? yes : 0;
  });
  return WIFEXITED(status) && WEXITSTATUS(status) == yes;
}

static void theIndexHas64Bits(Trial& trial) {
  void* const list = trial.hooks.newStringList({"first", "second"});
  for (const int bits : {8, 16, 32}) {
    expect(!readsTheFirst(list, int64_t{1} << bits),
           "index " + std::to_string(int64_t{1} << bits) +
               " of a list of 2 elements reads element 0: the index is cut to " + std::to_string(bits) + " bits");
  }
}

std::vector<Check> listChecks() {
  const Room room{"lists"};
  return {
      room.required(
          "SizesCountTheElements", sizesCountTheElements,
          "The library reads as many elements as the size says; it would leave files out, or read past the end of the "
          "list."),
      room.required("ElementsComeInOrder", elementsComeInOrder,
                    "Element i of the identities belongs to object i; objects would be refused, or sources compiled in "
                    "the wrong order."),
      room.required(
          "ElementsOfLongListsAreReached", elementsOfLongListsAreReached,
          "The library passes 64-bit indexes; a host that cuts them to 8 or 16 bits would return other files than the "
          "program named, or crash."),
      room.required(
          "NullElementsComeAsNull", nullElementsComeAsNull,
          "A null in a program's list would be taken for a file name, and the exception that names the list would not "
          "be raised."),
      room.required("EmptyStringsComeAsEmptyStrings", emptyStringsComeAsEmptyStrings,
                    "A list with an empty string would be refused as if it contained null."),
      room.advised(
          "TheIndexHas64Bits", theIndexHas64Bits,
          "The library passes 64-bit indexes; a host that drops the upper bits would read the wrong element of a very "
          "long list."),
  };
}

}  // namespace orva::host_contract
