#include "output/OutputFormats.h"

#include "output/CsvRowWriter.h"
#include "output/JsonlRowWriter.h"
#include "output/TableRowWriter.h"

namespace rksignal {

const std::vector<OutputFormat>& OutputFormats::all()
{
    static const std::vector<OutputFormat> formats = {
        {"table", TableRowWriter::create},
        {"csv", CsvRowWriter::create},
        {"jsonl", JsonlRowWriter::create},
        {"none", nullptr},
    };
    return formats;
}

const OutputFormat* OutputFormats::find(const std::string& name)
{
    for (const OutputFormat& format : all())
        if (name == format.name)
            return &format;
    return nullptr;
}

std::vector<std::string> OutputFormats::names()
{
    std::vector<std::string> names;
    for (const OutputFormat& format : all())
        names.push_back(format.name);
    return names;
}

std::string OutputFormats::namesText()
{
    const std::vector<std::string> all = names();
    std::string text;
    for (size_t index = 0; index < all.size(); ++index)
        text += (index == 0 ? "" : index + 1 == all.size() ? " or " : ", ") + all[index];
    return text;
}

} // namespace rksignal
