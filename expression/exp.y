/* Grammar of the expression language.
 *
 * The parser builds no tree: each rule, when reduced, appends its step to
 * the ExpParser being built, so operands always come before their operator
 * and the finished program is the expression in postfix order.
 *
 * Boolean operands are a level of their own (boolexp): comparisons do not
 * chain, '!' applies to boolean terms only, and a parenthesis opened after an
 * arithmetic operator holds arithmetic only. || and && bind equally and
 * associate to the left, so "a || b && c" is "(a || b) && c"; clients' trigger
 * conditions are written against that, so it stays.
 */
%define api.pure full
%define api.prefix {exp}
%define parse.trace
%parse-param {void* parser}
%lex-param {void* parser}

%code {
#include "expression/ExpParser.h"
#include "expression/expFlexLexer.h"
#include "signal/MessageLine.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

int explex(EXPSTYPE* value, void* parser);
void experror(void* parser, const char* message);

// The trace goes to the message sink's error stream rather than to the C
// library's stderr; the stream bison names is not used.
#define YYFPRINTF(stream, ...) parserTrace(__VA_ARGS__)
static void parserTrace(const char* format, ...) __attribute__((format(printf, 1, 2)));

#define PARSER (static_cast<ExpParser*>(parser))
}

%union {
    double number;
    char text[128];
}

%token END 0 "$end"
%token <number> NUM 258
%token <text> STRING 259
%token FC_RELEASED 260 FC_PRESSED 261 FC_PRESSED_LONG 262 HIGH 263 LOW 264
%token LOGGER_OK 265 LOGGER_ERROR 266 LOGGER_NOSYNC 267 LOGGER_WARNING 268
%token LOGGER_FW_UPDATE 269 LOGGER_MEM 270 LOGGER_RING 271
%token TRUE 272 FALSE 273 D2BOOL 274
%token '^'

/* Loosest first. The line end sits below everything so that an expression
 * standing alone becomes a boolean (boolexp: exp) before the line ends; a
 * closing parenthesis sits above everything so that "(a) + 1" stays
 * arithmetic. Where a number-level and a boolean comparison are both
 * possible ("x == y"), the number-level one is taken. */
%precedence '\n'
%left LOR 275 LAND 276
%left EQ 279 NE 280
%precedence '!'
%nonassoc LE 277 GE 278 '<' '>'
%left '+' '-'
%left '*' '/' '%'
%precedence NEG 281
%precedence ')'

%start line

%%

line
    : boolexp '\n'
    | exp '\n'
    ;

boolexp
    : exp %prec LOR             { PARSER->add(&ExpParser::opnz); }
    | exp NE exp                { PARSER->add(&ExpParser::opdne); }
    | exp LE exp                { PARSER->add(&ExpParser::ople); }
    | exp '<' exp               { PARSER->add(&ExpParser::oplt); }
    | exp GE exp                { PARSER->add(&ExpParser::opge); }
    | exp '>' exp               { PARSER->add(&ExpParser::opgt); }
    | exp EQ exp                { PARSER->add(&ExpParser::opdeq); }
    | '!' boolexp               { PARSER->add(&ExpParser::opnot); }
    | boolexp LOR boolexp       { PARSER->add(&ExpParser::oplor); }
    | boolexp LAND boolexp      { PARSER->add(&ExpParser::opland); }
    | boolexp EQ boolexp        { PARSER->add(&ExpParser::opbeq); }
    | boolexp NE boolexp        { PARSER->add(&ExpParser::opbne); }
    | '(' boolexp ')'
    ;

exp
    : CONST
    | NUM                       { PARSER->add($1); }
    | STRING                    { PARSER->add(std::string($1)); }
    | exp '+' exp               { PARSER->add(&ExpParser::opplus); }
    | exp '-' exp               { PARSER->add(&ExpParser::opminus); }
    | exp '*' exp               { PARSER->add(&ExpParser::opmult); }
    | exp '/' exp               { PARSER->add(&ExpParser::opdiv); }
    | exp '%' exp               { PARSER->add(&ExpParser::opmod); }
    | '-' exp %prec NEG         { PARSER->add(&ExpParser::opneg); }
    | '+' exp %prec NEG
    | '(' exp ')'
    ;

/* The key states the keyboard signals write, the values of the logger
 * status signal, and "active"/"void" for true and false (the words "true"
 * and "false" are left free for signal names). */
CONST
    : FC_RELEASED               { PARSER->add(0.0); }
    | FC_PRESSED                { PARSER->add(1.0); }
    | FC_PRESSED_LONG           { PARSER->add(2.0); }
    | HIGH                      { PARSER->add(1.0); }
    | LOW                       { PARSER->add(0.0); }
    | LOGGER_OK                 { PARSER->add(0.0); }
    | LOGGER_ERROR              { PARSER->add(1.0); }
    | LOGGER_NOSYNC             { PARSER->add(2.0); }
    | LOGGER_WARNING            { PARSER->add(3.0); }
    | LOGGER_FW_UPDATE          { PARSER->add(4.0); }
    | LOGGER_MEM                { PARSER->add(5.0); }
    | LOGGER_RING               { PARSER->add(6.0); }
    | TRUE                      { PARSER->add(1.0); }
    | FALSE                     { PARSER->add(0.0); }
    ;

%%

namespace {

// What experror quotes: the scanner's line and the start of the token before
// the one being read, remembered by explex. Process-wide, like the parser's
// own trace switch.
struct {
    int line = 1;
    size_t tokenStart = expScanPosition_t::none;
} remembered;

// The longest name the semantic value can carry, with its terminating NUL.
constexpr int longestName = static_cast<int>(sizeof(EXPSTYPE::text)) - 1;

} // namespace

int explex(EXPSTYPE* value, void* parser)
{
    expFlexLexer& lexer = *PARSER->lexer;
    remembered.line = lexer.lineno();
    remembered.tokenStart = expScanPosition.tokenStart;

    const int token = lexer.yylex();
    if (token == NUM) {
        value->number = std::strtod(lexer.YYText(), nullptr);
    } else if (token == STRING) {
        // A name too long to carry is a token the grammar does not know,
        // which makes it a syntax error at that name.
        if (lexer.YYLeng() > longestName)
            return EXPUNDEF;
        std::memcpy(value->text, lexer.YYText(), static_cast<size_t>(lexer.YYLeng()));
        value->text[lexer.YYLeng()] = '\0';
    }
    return token;
}

// Quotes the input from the start of the token before the offending one,
// through anything skipped, to the end of the offending token: enough to see
// where in the line the parse stopped.
void experror(void* parser, const char* message)
{
    const std::string input = PARSER->expression + '\n';
    std::string context;
    if (remembered.tokenStart < input.size()) {
        const size_t end = std::min(expScanPosition.scanned, input.size());
        if (end > remembered.tokenStart)
            context = input.substr(remembered.tokenStart, end - remembered.tokenStart);
    }
    MessageLine::writeText(MessageStream::Error, MessageLine::Error, "expression parser: line ", remembered.line,
                           " ", message, " at '", context, "'");
}

// One piece of the trace, printf-formatted as bison writes it.
static void parserTrace(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    char piece[256];
    const int length = std::vsnprintf(piece, sizeof piece, format, args);
    if (length >= 0 && static_cast<size_t>(length) < sizeof piece) {
        MessageLine::Trace(MessageStream::Error) << piece;
    } else if (length > 0) {
        std::string longer(static_cast<size_t>(length) + 1, '\0');
        std::vsnprintf(&longer[0], longer.size(), format, again);
        longer.pop_back();
        MessageLine::Trace(MessageStream::Error) << longer;
    }
    va_end(again);
    va_end(args);
}
