#include "event/EventParser.h"

#include <iostream>
#include <sstream>

EventParser::EventParser(std::string const& text)
{
    std::istringstream input(text);
    scanner.switch_streams(&input, nullptr);
    scanner.yylex();
    // The scanner must not keep reading from the stream that dies here.
    scanner.yyrestart(std::cin);
}

EventParser::~EventParser() = default;
