// Objects that somebody changed, with digests that fit.
#pragma once

#include <string>

/// Replaces a text that must stand once in another.
void replaceOnce(std::string& text, const std::string& from, const std::string& to);

/// A digest of zeros, which stands in its own place while it is computed.
std::string noDigits();

/// Puts a digest behind a key of an object's header.
std::string withDigits(std::string bytes, const std::string& key, const std::string& digits);

/// Loads A.o as the object of a source text, which must fail and register nothing; gives the message.
std::string loadingFails(const std::string& text);

/// The message for an A.o that refers to what it may not.
std::string refersTo(const std::string& symbol);

/// Rewrites an object with a text replaced, and digests that fit.
void changeObject(const std::string& path, const std::string& from, const std::string& to);
