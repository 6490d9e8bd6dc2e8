#include "definitions/DbcReader.h"

#include "definitions/TextCursor.h"
#include "definitions/TextFile.h"
#include "definitions/Utf8Text.h"

#include <cmath>
#include <set>

namespace rksignal {

namespace {

// Thrown inside the reader only, to leave a statement at the first problem.
struct DbcError {
    int line;
    std::string what;
};

const std::set<std::string_view> topLevelKeywords = {
    "VERSION", "NS_", "BS_", "BU_", "BO_", "SG_", "CM_", "BA_DEF_", "BA_DEF_DEF_", "BA_", "VAL_",
    "VAL_TABLE_", "SIG_VALTYPE_", "BO_TX_BU_", "EV_", "ENVVAR_DATA_", "SG_MUL_VAL_", "SIG_GROUP_",
    "SIGTYPE_VALTYPE_", "BA_DEF_SGTYPE_", "BA_SGTYPE_", "SIG_TYPE_REF_", "SGTYPE_", "CAT_DEF_", "CAT_",
    "FILTER", "BA_DEF_REL_", "BA_REL_", "BA_DEF_DEF_REL_", "BU_SG_REL_", "BU_EV_REL_", "BU_BO_REL_"};

// Statements that stand on one line; all others run to their semicolon.
const std::set<std::string_view> lineStatements = {"VERSION", "NS_", "BS_", "BU_", "BO_", "SG_"};

constexpr uint32_t extendedFlag = 0x80000000u;
const char* const independentSignals = "VECTOR__INDEPENDENT_SIG_MSG";

std::string_view firstWord(std::string_view line)
{
    size_t end = 0;
    while (end < line.size() && line[end] != ' ' && line[end] != '\t' && line[end] != ':' && line[end] != '\r')
        ++end;
    return line.substr(0, end);
}

class DbcParser {
public:
    DbcParser(const std::string& text, const std::string& fileName, DbcDatabase& database)
        : text_(text), fileName_(fileName), db_(database)
    {
    }

    void run()
    {
        std::string_view keyword, statement;
        int line = 0;
        while (nextStatement(keyword, statement, line))
            dispatch(keyword, statement, line);
        applyFrameFormats();
    }

private:
    // Splits the text into statements: a line for the line statements, up to
    // the semicolon (outside quotes) for the others, or up to the next line
    // that starts with a keyword when a writer left the semicolon out.
    bool nextStatement(std::string_view& keyword, std::string_view& statement, int& line)
    {
        for (;;) {
            if (pos_ >= text_.size())
                return false;
            const std::string_view current = lineAt(pos_);
            const bool indented = !current.empty() && (current[0] == ' ' || current[0] == '\t');
            const std::string_view trimmed = trimLeft(current);
            if (trimmed.empty() || (skippingNamespace_ && indented) || trimmed.substr(0, 2) == "//") {
                advanceLine(current);
                continue;
            }
            skippingNamespace_ = false;
            keyword = firstWord(trimmed);
            line = line_;
            if (lineStatements.count(keyword) || !topLevelKeywords.count(keyword)) {
                statement = trimmed;
                advanceLine(current);
                skippingNamespace_ = keyword == "NS_";
                if (!topLevelKeywords.count(keyword) && trimmed.find(';') == std::string_view::npos)
                    skipUnknownBlock();
                return true;
            }
            statement = toSemicolon();
            return true;
        }
    }

    std::string_view lineAt(size_t start) const
    {
        const size_t end = text_.find('\n', start);
        return std::string_view(text_).substr(start, (end == std::string::npos ? text_.size() : end) - start);
    }

    static std::string_view trimLeft(std::string_view s)
    {
        size_t i = 0;
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\r'))
            ++i;
        return s.substr(i);
    }

    void advanceLine(std::string_view current)
    {
        pos_ += current.size() + 1;
        ++line_;
    }

    // An unknown statement without a semicolon on its first line: skip its
    // indented continuation lines.
    void skipUnknownBlock()
    {
        while (pos_ < text_.size()) {
            const std::string_view current = lineAt(pos_);
            if (current.empty() || (current[0] != ' ' && current[0] != '\t'))
                return;
            advanceLine(current);
        }
    }

    std::string_view toSemicolon()
    {
        const size_t start = pos_;
        bool quoted = false;
        bool lineStart = false;
        for (; pos_ < text_.size(); ++pos_) {
            const char c = text_[pos_];
            if (lineStart && !quoted && topLevelKeywords.count(firstWord(std::string_view(text_).substr(pos_))))
                return std::string_view(text_).substr(start, pos_ - start);
            lineStart = false;
            if (c == '"')
                quoted = !quoted;
            else if (c == '\\' && quoted && pos_ + 1 < text_.size())
                ++pos_;
            else if (c == ';' && !quoted)
                return std::string_view(text_).substr(start, ++pos_ - start);
            if (text_[pos_] == '\n') {
                ++line_;
                lineStart = true;
            }
        }
        return std::string_view(text_).substr(start);
    }

    void dispatch(std::string_view keyword, std::string_view statement, int line)
    {
        TextCursor cursor(statement);
        cursor.consumeWord(keyword);
        if (keyword == "BO_")
            parseMessage(cursor, line);
        else if (keyword == "SG_")
            parseSignal(cursor, line);
        else if (keyword == "CM_")
            parseComment(cursor, line);
        else if (keyword == "BA_DEF_")
            parseAttributeDefinition(cursor);
        else if (keyword == "BA_DEF_DEF_")
            parseAttributeDefault(cursor);
        else if (keyword == "BA_")
            parseAttribute(cursor, line);
        else if (keyword == "VAL_")
            parseValueTable(cursor, line);
        else if (keyword == "SIG_VALTYPE_")
            parseValueType(cursor, line);
        else if (keyword == "SG_MUL_VAL_")
            parseMultiplexerRanges(cursor, line);
    }

    void warn(int line, const std::string& what)
    {
        db_.warnings.push_back(fileName_ + ":" + std::to_string(line) + ": " + what);
    }

    // Units, comments and value texts of files written in code page 1252.
    void toUtf8(std::string& text, int line)
    {
        if (Utf8Text::ensure(text) && !warnedEncoding_) {
            warnedEncoding_ = true;
            warn(line, "text that is not UTF-8 read as code page 1252");
        }
    }

    [[noreturn]] static void fail(int line, const std::string& what) { throw DbcError{line, what}; }

    template <class T>
    static T expectUnsigned(TextCursor& cursor, int line, const char* what, uint64_t limit)
    {
        uint64_t value = 0;
        if (!cursor.readUnsigned(value) || value > limit)
            fail(line, std::string("expected ") + what);
        return static_cast<T>(value);
    }

    static double expectDouble(TextCursor& cursor, int line, const char* what)
    {
        double value = 0;
        if (!cursor.readDouble(value))
            fail(line, std::string("expected ") + what);
        return value;
    }

    static void expectChar(TextCursor& cursor, char c, int line, const char* where)
    {
        if (!cursor.consume(c))
            fail(line, std::string("expected '") + c + "' " + where);
    }

    static std::string expectIdentifier(TextCursor& cursor, int line, const char* what)
    {
        const std::string_view name = cursor.readIdentifier();
        if (name.empty())
            fail(line, std::string("expected ") + what);
        return std::string(name);
    }

    // BO_ <id> <name>: <size> <sender>
    void parseMessage(TextCursor& cursor, int line)
    {
        DbcMessage message;
        message.line = line;
        const uint32_t rawId = expectUnsigned<uint32_t>(cursor, line, "frame identifier after BO_", 0xffffffffu);
        message.name = expectIdentifier(cursor, line, "frame name after the identifier");
        expectChar(cursor, ':', line, "after the frame name");
        message.size = expectUnsigned<uint32_t>(cursor, line, "frame size (0 to 64 bytes)", 64);
        message.sender = std::string(cursor.readToken());
        message.extended = (rawId & extendedFlag) != 0;
        message.id = rawId & 0x1fffffffu;
        if (!message.extended && message.id > 0x7ff) {
            // Some writers leave bit 31 out: no standard identifier is this large.
            message.extended = true;
            if (!warnedExtended_) {
                warnedExtended_ = true;
                warn(line, "identifier " + std::to_string(rawId) +
                               " above 0x7FF without bit 31 taken as extended (and all such identifiers of the file)");
            }
        }
        current_ = nullptr;
        skippingMessage_ = message.name == independentSignals;
        if (skippingMessage_)
            return; // a container for signals that belong to no frame
        byId_[rawId] = db_.messages.size();
        db_.messages.push_back(std::move(message));
        current_ = &db_.messages.back();
    }

    // SG_ <name> [M|mN] : <start>|<length>@<order><sign> (<factor>,<offset>) [<min>|<max>] "<unit>" <receivers>
    void parseSignal(TextCursor& cursor, int line)
    {
        DbcSignal signal;
        signal.line = line;
        signal.name = expectIdentifier(cursor, line, "signal name after SG_");
        const std::string_view mux = cursor.readToken(":");
        const bool bareMarker = mux == "m";
        if (!mux.empty() && !bareMarker)
            parseMultiplexing(mux, signal, line);
        expectChar(cursor, ':', line, "after the signal name");
        signal.startBit = expectUnsigned<uint16_t>(cursor, line, "start bit", 0xffff);
        expectChar(cursor, '|', line, "after the start bit");
        const uint64_t length = expectUnsigned<uint64_t>(cursor, line, "signal length", 0xffff);
        const bool usable = length >= 1 && length <= 64;
        signal.length = usable ? uint8_t(length) : 0;
        expectChar(cursor, '@', line, "after the signal length");
        const char order = cursor.peek();
        if (order != '0' && order != '1')
            fail(line, "expected byte order 0 (big endian) or 1 (little endian) after '@'");
        cursor.consume(order);
        signal.bigEndian = order == '0';
        if (cursor.peek() != '+' && cursor.peek() != '-')
            fail(line, "expected '+' or '-' after the byte order");
        signal.isSigned = cursor.peek() == '-';
        cursor.consume(cursor.peek());
        expectChar(cursor, '(', line, "before the factor");
        signal.factor = expectDouble(cursor, line, "factor");
        expectChar(cursor, ',', line, "between factor and offset");
        signal.offset = expectDouble(cursor, line, "offset");
        expectChar(cursor, ')', line, "after the offset");
        expectChar(cursor, '[', line, "before the minimum");
        signal.minimum = expectDouble(cursor, line, "minimum");
        expectChar(cursor, '|', line, "between minimum and maximum");
        signal.maximum = expectDouble(cursor, line, "maximum");
        expectChar(cursor, ']', line, "after the maximum");
        if (!cursor.readQuoted(signal.unit))
            fail(line, "expected the unit in double quotes");
        toUtf8(signal.unit, line);
        if (current_ == nullptr) {
            if (skippingMessage_)
                return;
            fail(line, "expected BO_ before SG_");
        }
        if (bareMarker) {
            warn(line, "signal " + signal.name + " has the multiplexer marker 'm' without a value; not decoded");
            return;
        }
        if (!usable) {
            db_.warnings.push_back(fileName_ + ":" + std::to_string(line) + ": signal " + signal.name + " is " +
                                   std::to_string(length) + " bits long; only signals of 1 to 64 bits are decoded");
            return;
        }
        current_->signals.push_back(std::move(signal));
    }

    static void parseMultiplexing(std::string_view mux, DbcSignal& signal, int line)
    {
        if (mux == "M") {
            signal.isMultiplexer = true;
            return;
        }
        if (mux.size() < 2 || mux[0] != 'm')
            fail(line, "expected 'M', 'mN' or ':' after the signal name");
        size_t end = mux.size();
        if (mux.back() == 'M') { // multiplexed and itself a multiplexer
            signal.isMultiplexer = true;
            --end;
        }
        TextCursor number(mux.substr(1, end - 1));
        uint64_t value = 0;
        if (!number.readUnsigned(value) || !number.atEnd() || value > 0xffff)
            fail(line, "expected a multiplexer value after 'm'");
        signal.isMultiplexed = true;
        signal.muxValue = static_cast<uint16_t>(value);
    }

    DbcSignal* findSignal(uint64_t rawId, std::string_view name)
    {
        const auto entry = byId_.find(rawId);
        if (entry == byId_.end())
            return nullptr;
        for (auto& signal : db_.messages[entry->second].signals)
            if (signal.name == name)
                return &signal;
        return nullptr;
    }

    // CM_ SG_ <id> <signal> "<text>"; (other comments are skipped)
    void parseComment(TextCursor& cursor, int line)
    {
        if (!cursor.consumeWord("SG_"))
            return;
        const uint64_t rawId = expectUnsigned<uint64_t>(cursor, line, "frame identifier in CM_ SG_", 0xffffffffu);
        cursor.skipSpaces();
        if (cursor.peek() == '"') {
            warn(line, "CM_ SG_ without a signal name; comment ignored");
            return;
        }
        const std::string name = expectIdentifier(cursor, line, "signal name in CM_ SG_");
        std::string text;
        if (!cursor.readQuoted(text))
            fail(line, "expected the comment in double quotes");
        toUtf8(text, line);
        if (DbcSignal* signal = findSignal(rawId, name))
            signal->comment = text;
    }

    // BA_DEF_ BO_ "VFrameFormat" ENUM "StandardCAN",...,"StandardCAN_FD",...;
    void parseAttributeDefinition(TextCursor& cursor)
    {
        std::string name;
        if (!cursor.consumeWord("BO_") || !cursor.readQuoted(name) || name != "VFrameFormat" ||
            !cursor.consumeWord("ENUM"))
            return;
        frameFormats_.clear();
        std::string value;
        while (cursor.readQuoted(value)) {
            frameFormats_.push_back(value);
            cursor.consume(',');
        }
    }

    // BA_DEF_DEF_ "VFrameFormat" "<format>";  BA_DEF_DEF_ "ProtocolType" "J1939";
    void parseAttributeDefault(TextCursor& cursor)
    {
        std::string name, value;
        if (!cursor.readQuoted(name) || !cursor.readQuoted(value))
            return;
        if (name == "VFrameFormat")
            defaultFormat_ = value;
        else if (name == "ProtocolType")
            protocolJ1939_ = value == "J1939";
    }

    // BA_ "VFrameFormat" BO_ <id> <value>;  BA_ "ProtocolType" "J1939";
    // BA_ "SystemMessageLongSymbol" BO_ <id> "<name>";
    // BA_ "SystemSignalLongSymbol" SG_ <id> <signal> "<name>";
    void parseAttribute(TextCursor& cursor, int line)
    {
        std::string name;
        if (!cursor.readQuoted(name))
            return;
        if (name == "ProtocolType") {
            std::string value;
            if (cursor.readQuoted(value))
                protocolJ1939_ = value == "J1939";
            return;
        }
        if (name == "SystemSignalLongSymbol" && cursor.consumeWord("SG_")) {
            const uint64_t rawId = expectUnsigned<uint64_t>(cursor, line, "frame identifier in BA_", 0xffffffffu);
            const std::string signalName = expectIdentifier(cursor, line, "signal name in BA_");
            std::string longName;
            DbcSignal* signal = findSignal(rawId, signalName);
            if (cursor.readQuoted(longName) && signal && !longName.empty()) {
                toUtf8(longName, line);
                signal->longName = longName;
            }
            return;
        }
        if ((name != "VFrameFormat" && name != "SystemMessageLongSymbol") || !cursor.consumeWord("BO_"))
            return;
        const uint64_t rawId = expectUnsigned<uint64_t>(cursor, line, "frame identifier in BA_", 0xffffffffu);
        if (name == "SystemMessageLongSymbol") {
            std::string longName;
            const auto entry = byId_.find(rawId);
            if (cursor.readQuoted(longName) && entry != byId_.end() && !longName.empty()) {
                toUtf8(longName, line);
                db_.messages[entry->second].longName = longName;
            }
            return;
        }
        const uint64_t format = expectUnsigned<uint64_t>(cursor, line, "frame format number", 0xffff);
        formatOf_[rawId] = format;
    }

    // The enum definition and the defaults may follow their uses: decide
    // when all is read.
    void applyFrameFormats()
    {
        std::vector<const std::string*> named(db_.messages.size(), &defaultFormat_);
        std::vector<std::string> numbered;
        numbered.reserve(formatOf_.size());
        for (const auto& [rawId, format] : formatOf_) {
            const auto entry = byId_.find(rawId);
            if (entry == byId_.end())
                continue;
            if (format < frameFormats_.size()) {
                named[entry->second] = &frameFormats_[format];
            } else {
                // Without the enum: the usual numbers of J1939PG, StandardCAN_FD, ExtendedCAN_FD.
                numbered.push_back(format == 3 ? "J1939PG" : format == 14 || format == 15 ? "CAN_FD" : "CAN");
                named[entry->second] = &numbered.back();
            }
        }
        for (size_t i = 0; i < db_.messages.size(); ++i) {
            DbcMessage& message = db_.messages[i];
            message.fd = named[i]->find("FD") != std::string::npos;
            message.j1939 = protocolJ1939_ || named[i]->find("J1939") != std::string::npos;
        }
    }

    // VAL_ <id> <signal> <value> "<text>" ... ;
    void parseValueTable(TextCursor& cursor, int line)
    {
        uint64_t rawId = 0;
        if (!cursor.readUnsigned(rawId))
            return; // a value table of an environment variable
        const std::string name = expectIdentifier(cursor, line, "signal name in VAL_");
        DbcSignal* signal = findSignal(rawId, name);
        for (;;) {
            uint64_t value = 0;
            bool exact = true;
            if (!readRawValue(cursor, value, exact))
                break;
            std::string text;
            if (!cursor.readQuoted(text))
                fail(line, "expected the value text in double quotes in VAL_");
            toUtf8(text, line);
            if (signal && exact)
                signal->values[value] = text;
        }
        if (cursor.consume(';'))
            return;
        if (!cursor.atEnd())
            fail(line, "expected a value, its text in double quotes, or ';' in VAL_");
        warn(line, "VAL_ without its closing ';'");
    }

    // A raw value of VAL_ as its 64 bits: integers exactly (negative ones in
    // two's complement, up to 2^64 - 1), other numbers when they are whole
    // and fit; `exact` false for those no raw value can take.
    static bool readRawValue(TextCursor& cursor, uint64_t& value, bool& exact)
    {
        cursor.skipSpaces();
        const std::string_view rest = cursor.rest();
        const size_t signEnd = !rest.empty() && rest[0] == '-' ? 1 : 0;
        size_t end = signEnd;
        while (end < rest.size() && rest[end] >= '0' && rest[end] <= '9')
            ++end;
        if (end > signEnd && (end == rest.size() || std::string_view(".eE").find(rest[end]) == std::string_view::npos)) {
            int64_t negative = 0;
            exact = signEnd ? cursor.readSigned(negative) : cursor.readUnsigned(value);
            if (signEnd)
                value = static_cast<uint64_t>(negative);
            if (exact)
                return true;
        }
        double number = 0;
        if (!cursor.readDouble(number))
            return false;
        exact = number >= -0x1p63 && number < 0x1p63 && number == std::trunc(number);
        value = exact ? static_cast<uint64_t>(static_cast<int64_t>(number)) : 0;
        return true;
    }

    // SIG_VALTYPE_ <id> <signal> : <1 float | 2 double>;
    void parseValueType(TextCursor& cursor, int line)
    {
        const uint64_t rawId = expectUnsigned<uint64_t>(cursor, line, "frame identifier in SIG_VALTYPE_", 0xffffffffu);
        const std::string name = expectIdentifier(cursor, line, "signal name in SIG_VALTYPE_");
        cursor.consume(':');
        const int type = expectUnsigned<int>(cursor, line, "value type 0, 1 or 2", 2);
        if (DbcSignal* signal = findSignal(rawId, name))
            signal->valueType = type;
    }

    // SG_MUL_VAL_ <id> <signal> <multiplexer> <low>-<high>, ...;
    void parseMultiplexerRanges(TextCursor& cursor, int line)
    {
        const uint64_t rawId = expectUnsigned<uint64_t>(cursor, line, "frame identifier in SG_MUL_VAL_", 0xffffffffu);
        const std::string name = expectIdentifier(cursor, line, "signal name in SG_MUL_VAL_");
        const std::string multiplexer = expectIdentifier(cursor, line, "multiplexer name in SG_MUL_VAL_");
        std::vector<std::pair<uint64_t, uint64_t>> ranges;
        do {
            uint64_t low = 0, high = 0;
            if (!cursor.readUnsigned(low) || !cursor.consume('-') || !cursor.readUnsigned(high))
                fail(line, "expected a range <low>-<high> in SG_MUL_VAL_");
            ranges.emplace_back(low, high);
        } while (cursor.consume(','));
        if (DbcSignal* signal = findSignal(rawId, name)) {
            signal->multiplexerName = multiplexer;
            signal->muxRanges = std::move(ranges);
        }
    }

    const std::string& text_;
    const std::string& fileName_;
    DbcDatabase& db_;
    size_t pos_ = 0;
    int line_ = 1;
    bool skippingNamespace_ = false;
    bool skippingMessage_ = false;
    bool warnedExtended_ = false;
    bool warnedEncoding_ = false;
    bool protocolJ1939_ = false;
    std::string defaultFormat_;
    DbcMessage* current_ = nullptr;
    std::map<uint64_t, size_t> byId_;
    std::vector<std::string> frameFormats_;
    std::map<uint64_t, uint64_t> formatOf_;
};

} // namespace

bool DbcReader::parse(const std::string& text, const std::string& fileName, DbcDatabase& database,
                      std::string& error)
{
    database.file = fileName;
    database.messages.clear();
    database.warnings.clear();
    try {
        DbcParser(text, fileName, database).run();
    } catch (const DbcError& problem) {
        error = fileName + ":" + std::to_string(problem.line) + ": " + problem.what;
        return false;
    }
    return true;
}

bool DbcReader::readFile(const std::string& path, DbcDatabase& database, std::string& error)
{
    std::string text;
    return TextFile::read(path, text, error) && parse(text, path, database, error);
}

} // namespace rksignal
