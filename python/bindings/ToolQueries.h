// ToolQueries: what the tool's check, events and watch --once commands show,
// as Python values: the signals trigger expressions read (or why they do not
// compile), the names an event description mentions, and the current values
// writers keep in shared memory.
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <vector>

namespace rksignal {

struct DefinitionSet;

namespace queries {

// One dict per expression: expression, ok, signals (instance names read),
// errors (the parser's lines).
pybind11::list check(const std::vector<std::string>& expressions, const DefinitionSet& definitions);
// The event parser's tables under the names clients read them by.
pybind11::dict events(const std::string& text);
// One dict per signal matching `patterns` (all when empty): instance, value,
// unit, description, state (LiveValue::State as a number), timestamp
// (microseconds; None without a value).
pybind11::list live(const DefinitionSet& definitions, const std::vector<std::string>& patterns);

} // namespace queries

} // namespace rksignal
