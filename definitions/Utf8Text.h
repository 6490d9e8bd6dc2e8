// Utf8Text: makes the texts of definition files valid UTF-8. Files written
// on Windows carry their units, comments and value texts in code page 1252;
// every row the tool writes must be UTF-8 all the same.
#pragma once

#include <string>
#include <string_view>

namespace rksignal {

class Utf8Text {
public:
    static bool valid(std::string_view text);
    // Leaves valid UTF-8 as it is; otherwise reads every byte as a code page
    // 1252 character (the five bytes that code page leaves undefined become
    // U+FFFD). True when the text was converted.
    static bool ensure(std::string& text);
};

} // namespace rksignal
