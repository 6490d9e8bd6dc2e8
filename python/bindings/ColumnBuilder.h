// ColumnBuilder: the decoder's rows as columns, filled in C++ and handed to
// Python as NumPy arrays: times in nanoseconds, values as doubles, and the
// text fields as codes into per-column category lists (pandas Categorical),
// so that no Python object is made per row.
//
// The categories grow across chunks and codes once given never change, so
// the frames of one run share their categories. Not thread-safe.
#pragma once

#include "decode/DecodedRow.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace rksignal {

// Texts to dense codes, owning every text it has seen.
class TextCodes {
public:
    int32_t code(std::string_view text)
    {
        const auto found = codes_.find(text);
        if (found != codes_.end())
            return found->second;
        const std::string& owned = texts_.emplace_back(text);
        const int32_t code = int32_t(texts_.size() - 1);
        codes_.emplace(std::string_view(owned), code);
        return code;
    }
    pybind11::list categories() const;

private:
    std::deque<std::string> texts_; // stable addresses: the map's keys view them
    std::unordered_map<std::string_view, int32_t> codes_;
};

class ColumnBuilder {
public:
    void reserve(size_t rows);
    void add(const DecodedRow& row);
    size_t size() const { return times_.size(); }
    // The columns so far as a dict of arrays ("time", "value", "instance",
    // "unit", "description" codes and their "*_categories", and "source" when
    // `withSources`); starts empty again.
    pybind11::dict take(bool withSources);

private:
    std::vector<int64_t> times_;
    std::vector<double> values_;
    std::vector<int32_t> instances_, units_, descriptions_;
    std::vector<int16_t> sources_; // J1939 source address, -1 for other rows
    TextCodes instanceCodes_, unitCodes_, descriptionCodes_;
};

} // namespace rksignal
