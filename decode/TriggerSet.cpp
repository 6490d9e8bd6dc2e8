#include "decode/TriggerSet.h"

#include <iostream>
#include <sstream>

namespace rksignal {

namespace {

// The parser reports on standard error; the tool collects the lines to show
// them with its own message.
class ErrorLines {
public:
    ErrorLines() : saved_(std::cerr.rdbuf(text_.rdbuf())) {}
    ~ErrorLines() { std::cerr.rdbuf(saved_); }
    std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::streambuf* saved_;
};

} // namespace

bool TriggerSet::compile(const std::vector<std::string>& expressions, bool edge, SignalSet& signals,
                         std::string& error)
{
    if (expressions.size() > UINT16_MAX) {
        error = "too many trigger expressions";
        return false;
    }
    for (const std::string& text : expressions) {
        std::string lines;
        std::unique_ptr<ExpParser> parser = compileOne(text, edge, signals.storage(), lines);
        if (!parser) {
            error = "cannot compile trigger \"" + text + "\":\n" + lines;
            return false;
        }
        parsers_.push_back(std::move(parser));
    }
    dirty_.assign(parsers_.size(), 0);
    pending_.reserve(parsers_.size());
    for (size_t index = 0; index < parsers_.size(); ++index)
        for (BaseSignal* signal : parsers_[index]->signals)
            if (SignalSet::Entry* entry = signals.find(signal->id))
                entry->triggers.push_back(uint16_t(index));
    return true;
}

std::unique_ptr<ExpParser> TriggerSet::compileOne(const std::string& text, bool edge, SignalStorage& storage,
                                                  std::string& errorLines)
{
    std::unique_ptr<ExpParser> parser;
    {
        ErrorLines capture;
        parser = std::make_unique<ExpParser>(text.c_str(), edge, &storage);
        errorLines = capture.text();
    }
    const bool parsed = ExpParser::allExpParsers.count(parser.get()) != 0;
    if (!parsed || !errorLines.empty())
        parser.reset();
    return parser;
}

} // namespace rksignal
