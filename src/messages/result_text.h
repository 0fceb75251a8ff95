// The reply body: an object with one member, in the engine's styled text.
#pragma once

#include <string>

extern const char kReturnResultKey[];  // "ReturnResultString"

std::string makeJsonText(const std::string& key, bool value);
std::string makeJsonText(const std::string& key, int value);
std::string makeJsonText(const std::string& key, double value);
std::string makeJsonText(const std::string& key, const std::string& value);
// Keeps a string literal from choosing the bool form.
std::string makeJsonText(const std::string& key, const char* value);
