#include "event/eventFlexer.h"

#include "event/EventScanner.h"

std::string eventFlexer::indexPrefix;

int eventFlexer::yylex()
{
    if (input_ == nullptr)
        return 0;
    EventScanner scanner(*input_, *this);
    input_ = nullptr;
    return scanner.yylex();
}
