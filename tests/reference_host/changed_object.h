// Objects that were changed, with digests that match.
#pragma once

#include <string>

/// Replaces a text that must occur exactly once in another.
void replaceOnce(std::string& text, const std::string& from, const std::string& to);

/// A digest of zeros, the placeholder while the digest is computed.
std::string noDigits();

/// Sets the digest for a key in an object's header.
std::string withDigits(std::string bytes, const std::string& key, const std::string& digits);

/// Loads A.o as the object of a source text, which must fail and register nothing; returns the message.
std::string loadingFails(const std::string& text);

/// The message for an A.o that refers to a symbol that it may not use.
std::string refersTo(const std::string& symbol);

/// Rewrites an object with a text replaced, and digests that match.
void changeObject(const std::string& path, const std::string& from, const std::string& to);
