// Objects that somebody changed, with digests that fit.
#pragma once

#include <string>

/// Replaces a text that must stand once in another.
void replaceOnce(std::string& text, const std::string& from, const std::string& to);

/// A digest of zeros, which stands in its own place while it is computed.
std::string noDigits();

/// Puts a digest behind a key of an object's header.
std::string withDigits(std::string bytes, const std::string& key, const std::string& digits);

/// Rewrites an object with a text replaced, and digests that fit.
void changeObject(const std::string& path, const std::string& from, const std::string& to);
