// The header of object files, and writing them so that nobody ever sees a partial object.
#include "reference_host/compiler/object_file.h"

#include <llvm/ADT/StringExtras.h>
#include <llvm/IR/Constants.h>
#include <llvm/IR/GlobalVariable.h>
#include <llvm/IR/Module.h>
#include <llvm/Object/ELFObjectFile.h>
#include <llvm/Support/BLAKE3.h>
#include <llvm/Support/JSON.h>
#include <llvm/Support/SHA256.h>
#include <llvm/Transforms/Utils/ModuleUtils.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "reference_host/compiler/exhaustion.h"
#include "reference_host/compiler/files.h"
#include "reference_host/language/printable_text.h"

namespace orva::compiler {

using language::inQuotes;

namespace fs = std::filesystem;
namespace json = llvm::json;

constexpr const char* headerSection = ".orva.object";

std::string sourceIdentity(const std::string& text) {
  llvm::SHA256 hash;
  hash.update(text);
  return llvm::toHex(hash.final(), true);
}

// Each load checks it, and SHA-256 would take a third as long as the linking.
std::string objectDigest(llvm::StringRef bytes) {
  return llvm::toHex(llvm::BLAKE3::hash(llvm::arrayRefFromStringRef(bytes)), true);
}

std::string objectPathOf(const std::string& sourcePath) {
  fs::path path(sourcePath);
  if (path.extension() != ".ov") {
    throw std::runtime_error(inQuotes(sourcePath) + " is not a source file: expected a class name followed by '.ov'");
  }
  return path.replace_extension(".o").string();
}

// The digest of the whole file, with zeros in its own place.
constexpr const char* wholeDigest = "digest";
// The digest of the parts that tell a linker where everything is. It is separate, so that a tool which only recomputes
// the other digest cannot make the linker use another place, size or purpose for the code.
constexpr const char* layoutDigest = "layout";

static std::string digestEntry(const char* key, const std::string& digest) {
  return "\"" + std::string(key) + "\":\"" + digest + "\"";
}

static std::string noDigest() { return std::string(64, '0'); }

/// Replaces one digest with another. Throws when the header, a part of the bytes, does not contain the first.
static std::string replaceDigest(llvm::StringRef bytes, llvm::StringRef header, const char* key,
                                 const std::string& from, const std::string& to) {
  const std::string entry = digestEntry(key, from);
  const std::size_t inHeader = header.find(entry);
  if (inHeader == llvm::StringRef::npos) throw std::runtime_error("the digest is missing");
  std::string replaced = bytes.str();
  const auto headerBegin = static_cast<std::size_t>(header.data() - bytes.data());
  return replaced.replace(headerBegin + inHeader, entry.size(), digestEntry(key, to));
}

void addHeader(llvm::Module& module, const ObjectFile& object) {
  json::Object natives;
  for (const auto& [symbol, signature] : object.natives) natives[symbol] = signature;
  json::Object header{{"identity", object.identity},
                      {"abi", object.abi},
                      {"target", object.target},
                      {"dialect", object.dialect},
                      {wholeDigest, noDigest()},
                      {layoutDigest, noDigest()},
                      {"initialisers", json::Array(object.initialisers)},
                      {"natives", std::move(natives)}};
  std::string text;
  llvm::raw_string_ostream(text) << json::Value(std::move(header));
  auto* value = llvm::ConstantDataArray::getString(module.getContext(), text, false);
  auto* global =
      new llvm::GlobalVariable(module, value->getType(), true, llvm::GlobalValue::PrivateLinkage, value, "orva.header");
  global->setSection(headerSection);
  llvm::appendToCompilerUsed(module, {global});
}

/// Null for a file that is not an ELF object at all; throws for a damaged one.
static std::unique_ptr<llvm::object::ObjectFile> parseElf(llvm::MemoryBufferRef bytes) {
  constexpr std::string_view magic("\x7F\x45\x4C\x46", 4);
  if (!bytes.getBuffer().starts_with(magic)) return nullptr;
  auto parsed = llvm::object::ObjectFile::createELFObjectFile(bytes);
  if (!parsed) throw std::runtime_error(llvm::toString(parsed.takeError()));
  return std::move(*parsed);
}

/// The digest of the ELF header and the section table.
static std::string layoutOf(const llvm::object::ObjectFile& object) {
  const auto* elf = llvm::dyn_cast<llvm::object::ELF64LEObjectFile>(&object);
  if (elf == nullptr) throw std::runtime_error("it is not a 64-bit little-endian ELF object");
  const auto& file = elf->getELFFile();
  auto sections = file.sections();
  if (!sections) throw std::runtime_error(llvm::toString(sections.takeError()));
  const auto bytesOf = [](const auto* first, std::size_t count) {
    return llvm::StringRef(reinterpret_cast<const char*>(first), count * sizeof *first);
  };
  return objectDigest((bytesOf(&file.getHeader(), 1) + bytesOf(sections->data(), sections->size())).str());
}

/// The header's text, a part of the object's bytes.
static std::optional<llvm::StringRef> findHeader(const llvm::object::ObjectFile& object) {
  for (const llvm::object::SectionRef& section : object.sections()) {
    llvm::Expected<llvm::StringRef> name = section.getName();
    if (!name) throw std::runtime_error(llvm::toString(name.takeError()));
    if (*name != headerSection) continue;
    llvm::Expected<llvm::StringRef> contents = section.getContents();
    if (!contents) throw std::runtime_error(llvm::toString(contents.takeError()));
    return *contents;
  }
  return std::nullopt;
}

/// The JSON parser recurses at each bracket, and would exhaust the stack. Our headers contain three.
static void checkNesting(llvm::StringRef header) {
  constexpr std::size_t most = 64;
  if (header.count('[') + header.count('{') > most) throw std::runtime_error("its header is nested too deeply");
}

static std::vector<std::string> textsOf(const json::Object& header, const char* key) {
  const json::Array* array = header.getArray(key);
  if (array == nullptr) throw std::runtime_error(std::string("its header has no list '") + key + "'");
  std::vector<std::string> texts;
  for (const json::Value& element : *array) texts.push_back(element.getAsString().value_or("").str());
  return texts;
}

static std::map<std::string, std::string> namedTextsOf(const json::Object& header, const char* key) {
  const json::Object* object = header.getObject(key);
  if (object == nullptr) throw std::runtime_error(std::string("its header has no object '") + key + "'");
  std::map<std::string, std::string> texts;
  for (const auto& [name, text] : *object) texts.emplace(name.str(), text.getAsString().value_or("").str());
  return texts;
}

static std::string textOf(const json::Object& header, const char* key) {
  const auto text = header.getString(key);
  if (!text) throw std::runtime_error(std::string("its header has no text '") + key + "'");
  return text->str();
}

static int64_t numberOf(const json::Object& header, const char* key) {
  const auto number = header.getInteger(key);
  if (!number) throw std::runtime_error(std::string("its header has no number '") + key + "'");
  return *number;
}

static void checkDigests(const llvm::object::ObjectFile& object, llvm::StringRef text, const json::Object& header) {
  const std::string digest = textOf(header, wholeDigest);
  if (objectDigest(replaceDigest(object.getData(), text, wholeDigest, digest, noDigest())) != digest) {
    throw std::runtime_error("its bytes have changed since it was written");
  }
  if (layoutOf(object) != textOf(header, layoutDigest)) {
    throw std::runtime_error("its ELF header or section table has changed since it was written");
  }
}

/// Reads the header of an object; nothing when this compiler did not write it. Throws when the file is damaged.
static std::optional<ObjectFile> parseObject(const std::string& path, const llvm::MemoryBuffer& bytes) {
  const auto parsed = parseElf(bytes.getMemBufferRef());
  if (parsed == nullptr) return std::nullopt;
  const auto text = findHeader(*parsed);
  if (!text) return std::nullopt;
  checkNesting(*text);
  llvm::Expected<json::Value> value = json::parse(*text);
  if (!value) throw std::runtime_error(llvm::toString(value.takeError()));
  const json::Object* header = value->getAsObject();
  if (header == nullptr) throw std::runtime_error("its header is not a JSON object");
  ObjectFile object;
  object.path = path;
  object.abi = numberOf(*header, "abi");
  // The rest of a header of another version is unknown.
  if (object.abi != currentObjectAbi) return object;
  checkDigests(*parsed, *text, *header);
  object.identity = textOf(*header, "identity");
  object.target = textOf(*header, "target");
  object.dialect = textOf(*header, "dialect");
  object.initialisers = textsOf(*header, "initialisers");
  object.natives = namedTextsOf(*header, "natives");
  return object;
}

ObjectFile readObject(const std::string& path) {
  auto bytes = readFile(path);
  std::optional<ObjectFile> object;
  try {
    object = parseObject(path, *bytes);
  } catch (const std::runtime_error& failure) {
    throw std::runtime_error(inQuotes(path) + " is damaged: " + failure.what());
  }
  if (!object) {
    throw std::runtime_error(inQuotes(path) +
                             " is not an object of this compiler: expected an ELF object with a section '" +
                             headerSection + "'");
  }
  object->bytes = std::move(bytes);
  return std::move(*object);
}

static void requireEqual(const ObjectFile& object, const char* what, const std::string& found,
                         const std::string& expected) {
  if (found == expected) return;
  throw std::runtime_error(inQuotes(object.path) + " was built " + what + ": expected " + inQuotes(expected) +
                           ", found " + inQuotes(found));
}

void checkObject(const ObjectFile& object, const std::string& identity, const std::string& target) {
  requireEqual(object, "for a different ABI version", std::to_string(object.abi), std::to_string(currentObjectAbi));
  requireEqual(object, "for a different dialect version", object.dialect, currentDialect);
  requireEqual(object, "for a different target", object.target, target);
  requireEqual(object, "from a different source", object.identity, identity);
}

/// Throws if a file is there that is not an ELF object with our section, or cannot be read. Accepts one that is
/// otherwise damaged.
static void checkIsOurs(const std::string& path) {
  std::error_code error;
  const fs::file_type type = fs::status(path, error).type();
  bool isOurs = false;
  if (type == fs::file_type::regular || type == fs::file_type::none) {
    const auto bytes = readFile(path);
    try {
      const auto parsed = parseElf(bytes->getMemBufferRef());
      isOurs = parsed != nullptr && findHeader(*parsed).has_value();
    } catch (const std::runtime_error& failure) {
      throw std::runtime_error(inQuotes(path) + " is damaged: " + failure.what() +
                               "; it was not overwritten: delete it to have it rebuilt");
    }
  }
  if (isOurs) return;
  throw std::runtime_error(inQuotes(path) + " is not an object of this compiler, and was not overwritten");
}

/// Fills in a digest. Throws when the bytes have no place for it.
static std::string withDigest(const std::string& bytes, const char* key,
                              std::string (*digestOf)(const llvm::object::ObjectFile&)) {
  const auto parsed = parseElf({bytes, ""});
  const auto header = parsed == nullptr ? std::nullopt : findHeader(*parsed);
  return replaceDigest(bytes, header.value_or(""), key, noDigest(), header ? digestOf(*parsed) : "");
}

static std::string digestOfAll(const llvm::object::ObjectFile& object) { return objectDigest(object.getData()); }

void writeObject(const ObjectFile& object, const std::string& bytes) {
  const Work work("writing " + inQuotes(object.path));
  std::error_code error;
  if (fs::exists(fs::symlink_status(object.path, error))) checkIsOurs(object.path);
  writeFile(object.path, withDigest(withDigest(bytes, layoutDigest, layoutOf), wholeDigest, digestOfAll));
}

}  // namespace orva::compiler
