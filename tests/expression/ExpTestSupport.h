// Shared by the expression tests: signals to refer to, and one-off evaluation.
#pragma once

#include "expression/ExpParser.h"
#include "support/OutputCapture.h"
#include "support/SignalTestSupport.h"

#include <memory>
#include <string>
#include <vector>

// A private storage holding 32-bit unsigned signals of the given names.
struct SignalSet {
    explicit SignalSet(const std::vector<std::string>& names)
    {
        for (const std::string& name : names)
            owned.push_back(std::make_unique<BaseSignal>(definitionOf(name, 32), false, &storage));
    }
    BaseSignal& operator[](const std::string& name) { return *BaseSignal::getInstance(name, &storage); }

    SignalStorage storage;
    std::vector<std::unique_ptr<BaseSignal>> owned;
};

// "true", "false", "unknown", or "rejected" when the text does not parse.
inline std::string evaluate(const std::string& text, SignalStorage* storage = nullptr)
{
    OutputCapture quiet;
    ExpParser parser(text.c_str(), false, storage);
    if (ExpParser::allExpParsers.count(&parser) == 0)
        return "rejected";
    bool result = false;
    if (!parser.getExpResult(result))
        return "unknown";
    return result ? "true" : "false";
}
