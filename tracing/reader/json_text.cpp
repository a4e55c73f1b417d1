// Escaping for JSON and for scripts in pages.
#include "tracing/reader/json_text.h"

#include <array>
#include <cstdio>

#include "reference_host/language/printable_text.h"

namespace orva::tracing {

/// Control characters, those of markup, and the line ends that older browsers do not accept in strings.
static bool isEscaped(char32_t code) {
  return code < 0x20 || code == 0x7F || code == '<' || code == '>' || code == '&' || code == 0x2028 || code == 0x2029;
}

std::string jsonText(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const language::Character character = language::firstCharacter(text);
    if (!character.isValid) {
      json += "\uFFFD";
    } else if (character.code == '"' || character.code == '\\') {
      json += {'\\', text.front()};
    } else if (isEscaped(character.code)) {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(character.code));
      json += escape.data();
    } else {
      json += text.substr(0, character.size);
    }
    text.remove_prefix(character.size);
  }
  return json + '"';
}

}  // namespace orva::tracing
