#include "decode/TriggerSet.h"

#include "signal/MessageSink.h"

#include <sstream>

namespace rksignal {

namespace {

// The parser reports on standard error; the tool collects those lines to
// show them with its own message. Lines for standard output go on where they
// went.
class ErrorLines : public MessageSink {
public:
    ErrorLines() : previous_(install(this)) {}
    ~ErrorLines() override { install(previous_); }
    std::string text() const { return text_.str(); }

    std::ostream& stream(MessageStream destination) override
    {
        return destination == MessageStream::Error ? text_ : previous_->stream(destination);
    }

private:
    std::ostringstream text_;
    MessageSink* previous_;
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
