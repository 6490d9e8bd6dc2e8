#include "event/EventParser.h"

#include <sstream>

EventParser::EventParser(std::string const& text)
{
    std::istringstream input(text);
    scanner.switch_streams(&input);
    scanner.yylex();
}

EventParser::~EventParser() = default;
