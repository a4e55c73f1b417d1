// List arguments: how a language list is copied into strings of our own.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "classloader/string_list.h"
#include "tests/scripted_host/scripted_host.h"
#include "tests/scripted_host/standard_library.h"

using namespace scripted;
using Strings = std::vector<std::string>;

namespace {

class StringLists : public HostTest {};

}  // namespace

TEST_F(StringLists, ANullListIsReportedAsMissing) {
  EXPECT_THROWS_TEXT(requireStringList(nullptr, "Source filename list"), std::runtime_error,
                     "Source filename list is required");
  EXPECT_THROWS_TEXT(requireStringList(nullptr, ""), std::runtime_error, " is required");
  EXPECT_CALLS();
}

TEST_F(StringLists, AnEmptyListFetchesNoElement) {
  EXPECT_EQ(Strings{}, requireStringList(host().list("list", {}), "Label"));
  EXPECT_CALLS(listRead("list", 0));
}

TEST_F(StringLists, ANegativeSizeIsAnEmptyList) {
  for (const int64_t size : {int64_t{-1}, std::numeric_limits<int64_t>::min()}) {
    EXPECT_EQ(Strings{}, requireStringList(host().list("list", {"unread"}, size), "Label"));
    EXPECT_CALLS(listRead("list", 0));
  }
}

TEST_F(StringLists, ElementsKeepTheirOrderTextAndDuplicates) {
  const std::string tooLongForTheBuffer(100, 'x');
  const Strings expected{"b", "", " a ", "b", tooLongForTheBuffer, "\x80\xff"};
  void* list = host().list("list", {"b", "", " a ", "b", tooLongForTheBuffer, "\x80\xff"});
  EXPECT_EQ(expected, requireStringList(list, "Label"));
  EXPECT_CALLS(listRead("list", 6));
}

TEST_F(StringLists, MemoryForAllElementsIsReservedAtOnce) {
  EXPECT_EQ(5U, requireStringList(host().list("list", {"a", "b", "c", "d", "e"}), "Label").capacity());
  EXPECT_CALLS(listRead("list", 5));
}

TEST_F(StringLists, OnlyAsManyElementsAreReadAsTheSizeSays) {
  EXPECT_EQ((Strings{"a", "b"}), requireStringList(host().list("list", {"a", "b", "c"}, 2), "Label"));
  EXPECT_CALLS(listRead("list", 2));
}

TEST_F(StringLists, ElementsAreCopiedBeforeTheNextIsFetched) {
  std::string shared;
  host().listIndex.always([&shared](void* /*list*/, int64_t index) {
    shared = "element " + std::to_string(index);
    return shared.c_str();
  });
  EXPECT_EQ((Strings{"element 0", "element 1"}), requireStringList(host().list("list", {}, 2), "Label"));
  EXPECT_CALLS(listRead("list", 2));
}

TEST_F(StringLists, NothingIsReadAfterANullElement) {
  for (const std::size_t place : {0U, 1U, 2U}) {
    std::vector<std::optional<std::string>> elements(3, "a");
    elements[place] = std::nullopt;
    EXPECT_THROWS_TEXT(requireStringList(host().list("list", elements), "Label"), std::runtime_error,
                       "Label cannot contain null");
    EXPECT_CALLS(listRead("list", static_cast<int64_t>(place) + 1));
  }
}

TEST_F(StringLists, ASizeThatNoVectorHoldsIsALengthError) {
  void* list = host().list("list", {"unread"}, std::numeric_limits<int64_t>::max());
  EXPECT_THROWS_TEXT(requireStringList(list, "Label"), std::length_error,
                     standard_library::impossibleReservation().c_str());
  EXPECT_CALLS(listRead("list", 0));
}

TEST_F(StringLists, WhatTheListThrowsPasses) {
  host().listSize.next(throws(std::runtime_error("no size")));
  EXPECT_THROWS_TEXT(requireStringList(host().list("list", {"a"}), "Label"), std::runtime_error, "no size");
  EXPECT_CALLS(listRead("list", 0));
  host().listIndex.next(throws(5));
  EXPECT_THROWS_VALUE(requireStringList(host().list("list", {"a"}), "Label"), int, 5);
  EXPECT_CALLS(listRead("list", 1));
}
