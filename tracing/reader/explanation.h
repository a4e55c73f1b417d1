// Says in one sentence why a native returned null, raised, or let an exception out.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "tracing/reader/trace.h"

namespace orva::tracing {

/// The sentences, in the order of their table.
enum class SentenceId {
#define ORVA_SENTENCE(id, ...) id,
#include "tracing/reader/sentences.inc"
#undef ORVA_SENTENCE
  count,
};

struct Sentence {
  std::string_view pattern;  ///< the parts in braces come from the events
  std::string_view advice;   ///< what to do, in Markdown
};

/// By `SentenceId`.
inline constexpr std::array<Sentence, static_cast<std::size_t>(SentenceId::count)> sentences = {{
#define ORVA_SENTENCE(id, pattern, advice) {pattern, advice},
#include "tracing/reader/sentences.inc"
#undef ORVA_SENTENCE
}};

/// Explains a native by its arguments and its calls.
/// @return one line; empty for a native that neither raised, nor let an exception out, nor returned a null pointer.
std::string explanationOf(const Event& native);

}  // namespace orva::tracing
