#include "definitions/JsonDefinitions.h"

#include "definitions/TextFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <set>
#include <utility>

namespace rksignal {

namespace {

using json = nlohmann::json;

// Thrown inside the reader only, to leave at the first problem.
struct JsonError {
    std::string path;
    std::string what;
};

[[noreturn]] void fail(const std::string& path, std::string what)
{
    throw JsonError{path, std::move(what)};
}

// A JSON Pointer reference token: "~" and "/" in keys are escaped so that the
// path stays unambiguous.
std::string pointerToken(const std::string& key)
{
    std::string token;
    for (char c : key) {
        if (c == '~')
            token += "~0";
        else if (c == '/')
            token += "~1";
        else
            token += c;
    }
    return token;
}

std::string member(const std::string& path, const std::string& key)
{
    return path + "/" + pointerToken(key);
}

std::string element(const std::string& path, size_t index)
{
    return path + "/" + std::to_string(index);
}

// An offending value as a message quotes it: scalars as written in JSON, cut
// to a readable length; objects and arrays by their kind.
std::string describe(const json& value)
{
    if (value.is_object())
        return "an object";
    if (value.is_array())
        return "an array";
    constexpr size_t maxLength = 40;
    std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    if (text.size() > maxLength) {
        size_t cut = maxLength;
        while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xc0) == 0x80) // inside a UTF-8 sequence
            --cut;
        text = text.substr(0, cut) + "...";
    }
    return text;
}

template <class T>
struct Name {
    const char* text;
    T value;
};

const Name<signalValue_t> valueTypes[] = {
    {"unsigned", SIGNAL_UNSIGNED}, {"signed", SIGNAL_SIGNED}, {"float", SIGNAL_FLOAT}, {"double", SIGNAL_DOUBLE}};
const Name<bool> byteOrders[] = {{"little", false}, {"big", true}};
const Name<bool> segments[] = {{"static", true}, {"dynamic", false}};
const Name<ethSignalPosType_t> containers[] = {
    {"default", ETH_DEFAULT}, {"ipdu", ETH_IPDU}, {"spdu", ETH_SPDU}, {"someip", ETH_SOMEIP}};

// Any JSON integer that is not negative; "-0" included, floats never.
bool nonNegativeInteger(const json& value, uint64_t& number)
{
    if (value.is_number_unsigned()) {
        number = value.get<uint64_t>();
        return true;
    }
    if (value.is_number_integer() && value.get<int64_t>() >= 0) {
        number = static_cast<uint64_t>(value.get<int64_t>());
        return true;
    }
    return false;
}

// Six two-digit hex octets separated by colons; the first octet is the first
// on the wire and becomes bits 47..40.
bool parseMac(const std::string& text, uint64_t& mac)
{
    constexpr size_t octets = 6;
    if (text.size() != octets * 3 - 1)
        return false;
    uint64_t value = 0;
    for (size_t octet = 0; octet < octets; ++octet) {
        const char* first = text.data() + octet * 3;
        unsigned byte = 0;
        const auto result = std::from_chars(first, first + 2, byte, 16);
        if (result.ec != std::errc() || result.ptr != first + 2 || (octet > 0 && first[-1] != ':'))
            return false;
        value = value << 8 | byte;
    }
    mac = value;
    return true;
}

// Four decimal octets without leading zeros (which some readers take for
// octal). The address is kept as its four bytes in wire order, which is how
// the Ethernet records and inet_ntoa hold it, whatever the host's byte order.
bool parseIpv4(const std::string& text, uint32_t& address)
{
    unsigned char bytes[4];
    size_t pos = 0;
    for (size_t octet = 0; octet < sizeof bytes; ++octet) {
        if (octet > 0 && (pos >= text.size() || text[pos++] != '.'))
            return false;
        const size_t first = pos;
        unsigned value = 0;
        while (pos < text.size() && pos - first < 4 && text[pos] >= '0' && text[pos] <= '9')
            value = value * 10 + unsigned(text[pos++] - '0');
        const size_t digits = pos - first;
        if (digits == 0 || digits > 3 || value > 255 || (digits > 1 && text[first] == '0'))
            return false;
        bytes[octet] = static_cast<unsigned char>(value);
    }
    if (pos != text.size())
        return false;
    std::memcpy(&address, bytes, sizeof address);
    return true;
}

// A decimal raw value; negative ones (signed signals) become their 64-bit
// two's complement, which is how a sign-extended raw value compares.
bool parseRaw(const std::string& text, bool negativeAllowed, uint64_t& raw)
{
    const char* first = text.data();
    const char* last = first + text.size();
    if (!text.empty() && text[0] == '-') {
        int64_t value = 0;
        const auto result = std::from_chars(first, last, value);
        if (!negativeAllowed || result.ec != std::errc() || result.ptr != last)
            return false;
        raw = static_cast<uint64_t>(value);
        return true;
    }
    const auto result = std::from_chars(first, last, raw);
    return result.ec == std::errc() && result.ptr == last;
}

// Reads the members of one JSON object into fields of a record, remembering
// the keys it took, so that finish() can reject all others.
class ObjectReader {
public:
    ObjectReader(const json& object, std::string path) : object_(object), path_(std::move(path))
    {
        if (!object.is_object())
            fail(path_, "expected an object, got " + describe(object));
    }

    void requiredText(const char* key, std::string& field)
    {
        if (!object_.contains(key))
            fail(path_, std::string("missing key \"") + key + "\"");
        text(key, field);
    }

    void text(const char* key, std::string& field)
    {
        if (const json* value = find(key)) {
            if (!value->is_string())
                fail(pathOf(key), "expected a string, got " + describe(*value));
            field = value->get<std::string>();
        }
    }

    template <class T>
    void unsignedInteger(const char* key, T& field)
    {
        if (const json* value = find(key))
            field = toUnsigned<T>(*value, pathOf(key), "");
    }

    // Absent or null leaves the field empty.
    template <class T>
    void optionalUnsigned(const char* key, std::optional<T>& field)
    {
        const json* value = find(key);
        if (value && value->is_null())
            field.reset();
        else if (value)
            field = toUnsigned<T>(*value, pathOf(key), "null or ");
    }

    void number(const char* key, double& field)
    {
        if (const json* value = find(key)) {
            if (!value->is_number())
                fail(pathOf(key), "expected a number, got " + describe(*value));
            field = value->get<double>();
        }
    }

    void flag(const char* key, bool& field)
    {
        if (const json* value = find(key)) {
            if (!value->is_boolean())
                fail(pathOf(key), "expected true or false, got " + describe(*value));
            field = value->get<bool>();
        }
    }

    template <class T, size_t N>
    void choice(const char* key, T& field, const Name<T> (&names)[N])
    {
        const json* value = find(key);
        if (!value)
            return;
        std::string expected = "expected one of ";
        for (const Name<T>& name : names) {
            if (value->is_string() && value->get_ref<const std::string&>() == name.text) {
                field = name.value;
                return;
            }
            expected += std::string("\"") + name.text + "\", ";
        }
        fail(pathOf(key), expected + "got " + describe(*value));
    }

    // Absent means "any address" (0), as in the record.
    void macAddress(const char* key, uint64_t& field)
    {
        const json* value = find(key);
        if (value && !(value->is_string() && parseMac(value->get<std::string>(), field)))
            fail(pathOf(key), "expected a MAC address \"aa:bb:cc:dd:ee:ff\", got " + describe(*value));
    }

    void ipv4Address(const char* key, uint32_t& field)
    {
        const json* value = find(key);
        if (value && !(value->is_string() && parseIpv4(value->get<std::string>(), field)))
            fail(pathOf(key), "expected an IPv4 address \"a.b.c.d\", got " + describe(*value));
    }

    // An object from decimal raw values to texts.
    void valueDescription(const char* key, std::map<uint64_t, std::string>& table, bool negativeAllowed)
    {
        const json* value = find(key);
        if (!value)
            return;
        const std::string path = pathOf(key);
        if (!value->is_object())
            fail(path, "expected an object of raw values and texts, got " + describe(*value));
        table.clear();
        for (auto entry = value->begin(); entry != value->end(); ++entry) {
            const std::string entryPath = member(path, entry.key());
            uint64_t raw = 0;
            if (!parseRaw(entry.key(), negativeAllowed, raw))
                fail(entryPath, rawKeyExpectation(entry.key(), negativeAllowed));
            if (!entry.value().is_string())
                fail(entryPath, "expected a string, got " + describe(entry.value()));
            if (!table.emplace(raw, entry.value().get<std::string>()).second)
                fail(entryPath, "raw value " + std::to_string(raw) + " is given twice");
        }
    }

    // An array of records, each read by `read` at its own path.
    template <class Record>
    void list(const char* key, std::vector<Record>& records, Record (*read)(const json&, const std::string&))
    {
        const json* value = find(key);
        if (!value)
            return;
        const std::string path = pathOf(key);
        if (!value->is_array())
            fail(path, "expected an array, got " + describe(*value));
        for (size_t i = 0; i < value->size(); ++i)
            records.push_back(read((*value)[i], element(path, i)));
    }

    // Rejects the first key (in key order) that no field took.
    void finish() const
    {
        if (taken_.size() == object_.size())
            return;
        for (auto entry = object_.begin(); entry != object_.end(); ++entry)
            if (!taken_.count(entry.key()))
                fail(member(path_, entry.key()), "unknown key");
    }

private:
    const json* find(const char* key)
    {
        const auto entry = object_.find(key);
        if (entry == object_.end())
            return nullptr;
        taken_.insert(key);
        return &*entry;
    }

    std::string pathOf(const char* key) const { return member(path_, key); }

    template <class T>
    static T toUnsigned(const json& value, const std::string& path, const char* alternative)
    {
        constexpr uint64_t max = std::numeric_limits<T>::max();
        uint64_t number = 0;
        if (!nonNegativeInteger(value, number) || number > max)
            fail(path, std::string("expected ") + alternative + "an unsigned integer 0.." + std::to_string(max) +
                           ", got " + describe(value));
        return static_cast<T>(number);
    }

    static std::string rawKeyExpectation(const std::string& key, bool negativeAllowed)
    {
        if (!negativeAllowed && !key.empty() && key[0] == '-')
            return "negative raw values need \"type\": \"signed\"";
        return std::string("expected a decimal raw value ") +
               (negativeAllowed ? std::to_string(std::numeric_limits<int64_t>::min()) : "0") + ".." +
               std::to_string(std::numeric_limits<uint64_t>::max()) + " as key";
    }

    const json& object_;
    std::string path_;
    std::set<std::string> taken_;
};

template <class Record, void (*fill)(ObjectReader&, Record&)>
Record readRecord(const json& value, const std::string& path)
{
    ObjectReader in(value, path);
    Record record;
    fill(in, record);
    in.finish();
    return record;
}

void fillBase(ObjectReader& in, baseSignalDef_t& def)
{
    in.requiredText("instance", def.instance);
    in.text("signal", def.signal);
    in.unsignedInteger("userId", def.userId);
    in.unsignedInteger("channel", def.channel);
    in.text("unit", def.unit);
    in.choice("type", def.type, valueTypes);
    in.unsignedInteger("startbit", def.startbit);
    in.unsignedInteger("bits", def.bits);
    in.number("scale", def.scale);
    in.number("offset", def.offset);
    in.choice("endian", def.endian, byteOrders);
    in.flag("multiplexed", def.multiplexed);
    bool multiplexer = def.multiplexer != 0;
    in.flag("multiplexer", multiplexer);
    def.multiplexer = multiplexer;
    in.unsignedInteger("mux", def.mux);
    // After "type": negative raw values are accepted for signed signals only.
    in.valueDescription("valueDescription", def.valueDescription, def.type == SIGNAL_SIGNED);
    in.text("udn", def.udn);
    in.text("comment", def.comment);
    in.unsignedInteger("tslId", def.tslId);
}

void fillCan(ObjectReader& in, canSignalDef_t& def)
{
    fillBase(in, def);
    in.unsignedInteger("msgId", def.msgId);
    in.flag("extended", def.extended);
    in.flag("canFD", def.canFD);
    in.text("message", def.message);
    in.text("sender", def.sender);
    in.optionalUnsigned("pduId", def.pduId);
    in.unsignedInteger("startByte", def.startByte);
    in.unsignedInteger("numBytes", def.numBytes);
}

void fillLin(ObjectReader& in, linSignalDef_t& def)
{
    fillBase(in, def);
    in.unsignedInteger("msgId", def.msgId);
}

// The cycle table is not read: the signal always computes it from baseCycle
// and repetition.
void fillFlexRayPosition(ObjectReader& in, flexRayPosition_t& position)
{
    in.unsignedInteger("startBit", position.startBit);
    in.choice("segment", position.type, segments);
    in.unsignedInteger("slot", position.slot);
    in.unsignedInteger("baseCycle", position.baseCycle);
    in.unsignedInteger("repetition", position.repetition);
    in.optionalUnsigned("updateBit", position.updateBit);
    in.optionalUnsigned("pduId", position.pduId);
    in.unsignedInteger("startByte", position.startByte);
    in.unsignedInteger("numBytes", position.numBytes);
}

void fillFlexRay(ObjectReader& in, flexRaySignalDef_t& def)
{
    fillBase(in, def);
    in.list("positions", def.positions, readRecord<flexRayPosition_t, fillFlexRayPosition>);
}

void fillEthernetPosition(ObjectReader& in, ethernetPosition_t& position)
{
    in.choice("ethSignalType", position.ethSignalType, containers);
    in.unsignedInteger("startBit", position.startBit);
    in.macAddress("sourceMac", position.sourceMac);
    in.macAddress("destinationMac", position.destinationMac);
    in.ipv4Address("sourceIp", position.sourceIp);
    in.ipv4Address("destinationIp", position.destinationIp);
    in.unsignedInteger("sourcePort", position.sourcePort);
    in.unsignedInteger("destinationPort", position.destinationPort);
    in.unsignedInteger("ipProtocol", position.ipProtocol);
    in.flag("vlan", position.vlan);
    in.unsignedInteger("vlanId", position.vlanId);
    in.unsignedInteger("pduId", position.pduId);
    in.unsignedInteger("messageId", position.messageId);
    in.unsignedInteger("serviceId", position.serviceId);
    in.unsignedInteger("methodEventId", position.methodEventId);
    in.unsignedInteger("startByte", position.startByte);
    in.unsignedInteger("numBytes", position.numBytes);
}

void fillEthernet(ObjectReader& in, ethernetSignalDef_t& def)
{
    fillBase(in, def);
    in.list("positions", def.positions, readRecord<ethernetPosition_t, fillEthernetPosition>);
}

void fillInput(ObjectReader& in, inputSignalDef_t& def)
{
    fillBase(in, def);
}

void fillSet(ObjectReader& in, DefinitionSet& set)
{
    in.list("can", set.can, readRecord<canSignalDef_t, fillCan>);
    in.list("lin", set.lin, readRecord<linSignalDef_t, fillLin>);
    in.list("flexray", set.flexRay, readRecord<flexRaySignalDef_t, fillFlexRay>);
    in.list("ethernet", set.ethernet, readRecord<ethernetSignalDef_t, fillEthernet>);
    const auto readInput = readRecord<inputSignalDef_t, fillInput>;
    in.list("digital", set.digital, readInput);
    in.list("analog", set.analog, readInput);
    in.list("keyboard", set.keyboard, readInput);
    in.list("loggerStatus", set.loggerStatus, readInput);
    in.list("gps", set.gps, readInput);
}

// Watches the parser for keys given twice in one object, which JSON readers
// otherwise resolve silently (here: the last one would win). Keeps the path
// of the first duplicate.
class DuplicateKeyFinder {
public:
    bool operator()(int /*depth*/, json::parse_event_t event, json& parsed)
    {
        switch (event) {
        case json::parse_event_t::object_start:
        case json::parse_event_t::array_start:
            levels_.push_back(Level{event == json::parse_event_t::array_start, 0, {}, {}});
            break;
        case json::parse_event_t::key: {
            Level& level = levels_.back();
            level.key = parsed.get<std::string>();
            if (!level.keys.insert(level.key).second && duplicatePath_.empty())
                duplicatePath_ = currentPath();
            break;
        }
        case json::parse_event_t::object_end:
        case json::parse_event_t::array_end:
            levels_.pop_back();
            valueDone();
            break;
        case json::parse_event_t::value:
            valueDone();
            break;
        }
        return true;
    }

    const std::string& duplicatePath() const { return duplicatePath_; }

private:
    struct Level {
        bool array;
        size_t index;
        std::string key;
        std::set<std::string> keys;
    };

    void valueDone()
    {
        if (!levels_.empty() && levels_.back().array)
            ++levels_.back().index;
    }

    std::string currentPath() const
    {
        std::string path;
        for (const Level& level : levels_)
            path = level.array ? element(path, level.index) : member(path, level.key);
        return path;
    }

    std::vector<Level> levels_;
    std::string duplicatePath_;
};

// "<line>:<column>" of the character that nlohmann's `byte` count ends on
// (it counts that character, and one more at the end of the input).
std::string lineColumn(const std::string& text, size_t byte)
{
    const size_t offset = std::min(byte > 0 ? byte - 1 : 0, text.size());
    size_t line = 1;
    size_t lineStart = 0;
    for (size_t i = 0; i < offset; ++i) {
        if (text[i] == '\n') {
            ++line;
            lineStart = i + 1;
        }
    }
    return std::to_string(line) + ":" + std::to_string(offset - lineStart + 1);
}

// nlohmann's message without its "[json.exception...] " tag and without its
// own "parse error at line L, column C: " lead, which we give in our form.
std::string plainMessage(const json::exception& e)
{
    std::string message = e.what();
    const size_t tagEnd = message.find("] ");
    if (message.compare(0, 1, "[") == 0 && tagEnd != std::string::npos)
        message.erase(0, tagEnd + 2);
    const std::string lead = "parse error";
    const size_t leadEnd = message.find(": ");
    if (message.compare(0, lead.size(), lead) == 0 && leadEnd != std::string::npos)
        message.erase(0, leadEnd + 2);
    return message;
}

} // namespace

bool JsonDefinitions::parse(const std::string& text, const std::string& fileName, DefinitionSet& out,
                            std::string& error)
{
    try {
        DuplicateKeyFinder duplicates;
        const json document = json::parse(
            text, [&duplicates](int depth, json::parse_event_t event, json& parsed) {
                return duplicates(depth, event, parsed);
            });
        if (!duplicates.duplicatePath().empty())
            fail(duplicates.duplicatePath(), "duplicate key");
        out.append(readRecord<DefinitionSet, fillSet>(document, ""));
        return true;
    } catch (const JsonError& e) {
        error = fileName + ": " + (e.path.empty() ? "/" : e.path) + ": " + e.what;
    } catch (const json::parse_error& e) {
        error = fileName + ":" + lineColumn(text, e.byte) + ": " + plainMessage(e);
    } catch (const json::exception& e) {
        error = fileName + ": " + plainMessage(e);
    }
    return false;
}

bool JsonDefinitions::readFile(const std::string& path, DefinitionSet& out, std::string& error)
{
    std::string text;
    return TextFile::read(path, text, error) && parse(text, path, out, error);
}

} // namespace rksignal
