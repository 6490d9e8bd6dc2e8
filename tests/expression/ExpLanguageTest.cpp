// The expression language as a client writes it: what the scanner splits,
// what the grammar accepts, how operators bind, and the error lines.
#include "ExpTestSupport.h"

#include <gtest/gtest.h>

TEST(ExpLanguage, ScannerAndGrammar)
{
    SignalSet s({"speed", "door", "x", "e", "lowest", "pressed_longer", "Pressed", "true", "bus1.speed", "temp%"});
    s["speed"].write(60, 1);
    s["door"].write(1, 1);
    s["x"].write(3, 1);
    const std::pair<const char*, const char*> cases[] = {
        {"speed>50&&door", "true"}, {"x - 1.5 == 1.5", "true"}, {"x-1 == 2", "true"},
        {"x-1.5", "rejected"}, // the sign belongs to the number
        {"-.5 < 0 && .5e3 == 500 && 5. == 5 && 5e-3 == 0.005", "true"},
        {"5e", "rejected"}, // 5, then the name e
        // Keywords only as whole lowercase words; "true" and "false" are names.
        {"pressed_long == 2 && pressed == 1 && released == 0 && ring == 6 && nosync == 2", "true"},
        {"high == 1 && low == 0 && error == 1 && fwupdate == 4 && active == 1 && void == 0", "true"},
        {"lowest || pressed_longer || Pressed || true || bus1.speed || temp%", "unknown"},
        // Comment and blank lines around the expression; nothing after it.
        {"# note\n\n \t\nspeed > 50\n\n", "true"}, {"speed\nspeed", "rejected"}, {"", "rejected"},
        {"speed ; > 5", "true"}, {"speed, door", "rejected"}, {"speed ^ 2", "rejected"},
        // || and && bind equally, from the left; '!' takes a boolean term.
        {"1 || 0 && 0", "false"}, {"0 && 1 || 1", "true"}, {"!2 == 1", "true"}, {"!(1 < 2) == 5", "false"},
        {"1 < 2 == 1", "true"}, {"(1 < 2) == 5", "false"}, {"2 == 2 == 1", "true"}, {"1 < 2 < 3", "rejected"},
        {"1 < !0", "rejected"}, {"-(!0)", "rejected"}, {"1 + (1 < 2)", "rejected"},
        {"3 - 2 - 1 == 0 && 2 * 3 % 4 == 2 && 1 + 2 * 3 == 7", "true"},
        {"-2 * 3 == -6 && 1 - -1 == 2 && +1 == 1 && (1) + 1 == 2", "true"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(evaluate(c.first, &s.storage), c.second) << c.first;
}

TEST(ExpLanguage, ErrorLinesQuoteTheTextAroundTheOffendingToken)
{
    SignalSet s({"speed", "door"});
    OutputCapture capture;
    const auto linesFor = [&](const std::string& text) {
        capture.reset();
        ExpParser parser(text.c_str(), false, &s.storage);
        return capture.err();
    };
    const auto syntaxError = [](int line, const std::string& context, const std::string& text) {
        return "[ERROR] expression parser: line " + std::to_string(line) + " syntax error at '" + context +
               "'\n[ERROR] parser error in ExpParser: " + text + "\n\n";
    };

    EXPECT_EQ(linesFor("speed > 50 & door"), syntaxError(1, "50 & door", "speed > 50 & door"));
    EXPECT_EQ(linesFor("# note\nspeed > 50 & door"), syntaxError(2, "50 & door", "# note\nspeed > 50 & door"));
    EXPECT_EQ(linesFor("speed, door"), syntaxError(1, "speed,", "speed, door"));
    EXPECT_EQ(linesFor("speed +"), syntaxError(1, "+\n", "speed +"));
    EXPECT_EQ(linesFor(""), syntaxError(1, "", "")); // nothing before the first token

    // Names must fit the parser's 128-byte cell.
    const std::string longest(127, 'n');
    EXPECT_EQ(linesFor(longest), "[ERROR] ExpParser::add: Signal not found: " + longest + "\n");
    const std::string tooLong(128, 'n');
    EXPECT_EQ(linesFor("speed + " + tooLong), syntaxError(1, "+ " + tooLong, "speed + " + tooLong));
}
