// A client of the installed decoding library: the rows of a recording.
#include "decode/Decoder.h"
#include "version.h"

#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    rksignal::DecodeOptions options;
    options.recordings = {argv[2]};
    rksignal::Decoder decoder(options);
    std::vector<std::string> warnings;
    std::string error;
    if (!decoder.load({argv[1]}, warnings, error)) {
        std::cerr << error << std::endl;
        return 1;
    }
    size_t rows = 0;
    rksignal::DecodedRow row;
    while (decoder.next(row))
        ++rows;
    std::cout << "decode client " << RKSIGNAL_VERSION << ": " << rows << " rows" << std::endl;
    return decoder.report().failed() ? 1 : 0;
}
