// OutputFormat: one row of the table of output formats: the name the
// command line gives it, and how its writer is created.
#pragma once

#include "output/OutputBuffer.h"
#include "output/RowWriter.h"

#include <cstddef>
#include <memory>

namespace rksignal {

struct OutputFormat {
    // The writer on `out`; `instanceWidth` is the longest instance name
    // shown. Null for a format that writes no rows.
    using Create = std::unique_ptr<RowWriter> (*)(OutputBuffer& out, size_t instanceWidth);

    const char* name;
    Create create;
};

} // namespace rksignal
