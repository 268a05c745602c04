#pragma once
// JSON as any other program reads it, for what the program answers.
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

/// Throws, and so ends the test, unless `text` is one JSON value and nothing else, without a key twice in one object.
inline nlohmann::json ParseJson(const std::string& text) {
  std::vector<std::set<std::string>> open;  // keys of the objects around what is read
  return nlohmann::json::parse(text, [&](int, nlohmann::json::parse_event_t event, const nlohmann::json& value) {
    using Event = nlohmann::json::parse_event_t;
    if (event == Event::object_start) open.emplace_back();
    if (event == Event::key && !open.back().insert(value.get<std::string>()).second)
      throw std::runtime_error(text + " has a key twice");
    if (event == Event::object_end) open.pop_back();
    return true;
  });
}
