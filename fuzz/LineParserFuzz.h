// LineParserFuzz: the frame of the targets for the tool's line-based
// recording formats (candump, NMEA, trace lines): every line of the input
// goes through the parser, and a message it returns goes through the decoder
// of its kind over whatever signals the target built.
//
// Thread safety: none; one input at a time.
#pragma once

#include "FuzzInput.h"
#include "FuzzSession.h"
#include "ToolSignals.h"

#include "recordings/LineParser.h"
#include "recordings/RecordedMessage.h"

#include <string_view>
#include <vector>

namespace fuzz {

using namespace rksignal;

inline void parseLines(LineParser& parser, std::string_view text, SignalStorage& storage)
{
    RecordedMessage message;
    std::vector<unsigned long> ids;
    ids.reserve(64);
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.empty())
            continue; // parsers take non-empty lines only
        const char* reason = nullptr;
        switch (parser.parseLine(line, message, reason)) {
        case LineParser::Message:
            require(message.can.length <= sizeof message.can.payload || message.kind != RecordedMessage::Can,
                    "a CAN frame holds at most 64 bytes");
            requireWritten(message.decode(ids, storage), ids, message.timestamp(), &storage);
            break;
        case LineParser::Bad:
            require(reason != nullptr, "a bad line says why");
            break;
        default:
            break;
        }
    }
    if (parser.finish(message))
        requireWritten(message.decode(ids, storage), ids, message.timestamp(), &storage);
}

// The whole target for one line format: the first byte selects the debug
// level, the rest is the text.
template <class Parser>
int fuzzLines(const uint8_t* data, size_t size)
{
    SignalSet& signals = toolSignals();
    BaseSignal::clearAll(&signals.storage());
    FuzzInput in(data, size);
    const Session session(in.byte());
    Parser parser;
    const std::string text = in.rest();
    parseLines(parser, text, signals.storage());
    return 0;
}

} // namespace fuzz
