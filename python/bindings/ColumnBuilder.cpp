#include "python/bindings/ColumnBuilder.h"

#include <limits>
#include <memory>

namespace py = pybind11;

namespace rksignal {

namespace {

// A NumPy array that owns the vector's memory: no copy of the column.
template <class T>
py::array_t<T> ownedArray(std::vector<T>& column)
{
    auto owned = std::make_unique<std::vector<T>>(std::move(column));
    column = {};
    const size_t size = owned->size();
    T* data = owned->data();
    py::capsule owner(owned.get(), [](void* pointer) { delete static_cast<std::vector<T>*>(pointer); });
    owned.release();
    return py::array_t<T>(size, data, owner);
}

// Microseconds since the epoch as nanoseconds; NaT (the smallest int64) for
// times past what datetime64[ns] holds (the year 2262).
int64_t nanoseconds(uint64_t microseconds)
{
    constexpr uint64_t latest = uint64_t(std::numeric_limits<int64_t>::max()) / 1000;
    return microseconds <= latest ? int64_t(microseconds * 1000) : std::numeric_limits<int64_t>::min();
}

} // namespace

py::list TextCodes::categories() const
{
    py::list list;
    for (const std::string& text : texts_)
        list.append(py::str(text));
    return list;
}

void ColumnBuilder::reserve(size_t rows)
{
    times_.reserve(rows);
    values_.reserve(rows);
    instances_.reserve(rows);
    units_.reserve(rows);
    descriptions_.reserve(rows);
    sources_.reserve(rows);
}

// Trigger and time-out rows read as the tool's CSV shows them: the marker
// as instance, no value or unit, the expression or instance as description.
void ColumnBuilder::add(const DecodedRow& row)
{
    times_.push_back(nanoseconds(row.time));
    sources_.push_back(int16_t(row.source));
    if (row.kind == DecodedRow::Signal) {
        values_.push_back(row.value);
        instances_.push_back(instanceCodes_.code(row.instance));
        units_.push_back(unitCodes_.code(row.unit));
        descriptions_.push_back(descriptionCodes_.code(row.description));
        return;
    }
    const bool trigger = row.kind == DecodedRow::Trigger;
    values_.push_back(std::numeric_limits<double>::quiet_NaN());
    instances_.push_back(instanceCodes_.code(trigger ? "TRIGGER" : "TIMEOUT"));
    units_.push_back(unitCodes_.code(""));
    descriptions_.push_back(descriptionCodes_.code(trigger ? row.expression : row.instance));
}

py::dict ColumnBuilder::take(bool withSources)
{
    py::dict columns;
    if (withSources)
        columns["source"] = ownedArray(sources_);
    sources_.clear();
    columns["time"] = ownedArray(times_);
    columns["value"] = ownedArray(values_);
    columns["instance"] = ownedArray(instances_);
    columns["unit"] = ownedArray(units_);
    columns["description"] = ownedArray(descriptions_);
    columns["instance_categories"] = instanceCodes_.categories();
    columns["unit_categories"] = unitCodes_.categories();
    columns["description_categories"] = descriptionCodes_.categories();
    return columns;
}

} // namespace rksignal
