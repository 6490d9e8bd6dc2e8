#include "trace/NmeaSentence.h"

namespace {

// Value of a hexadecimal digit (either case), or -1.
int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

constexpr size_t addressLength = 5; // talker (2) + sentence type (3)

} // namespace

bool NmeaSentence::find(std::string_view text, std::string_view type)
{
    count_ = 0;
    // A sentence runs from its '$' to the line end; a '$' in mid-line starts
    // a new one, so receiver noise before a sentence does not hide it.
    for (size_t start = text.find('$'); start != std::string_view::npos; start = text.find('$', start + 1)) {
        size_t end = text.find_first_of("\r\n$", start + 1);
        if (end == std::string_view::npos)
            end = text.size();
        const std::string_view sentence = text.substr(start + 1, end - start - 1);
        if (hasAddress(sentence, type))
            return parse(sentence);
    }
    return false;
}

bool NmeaSentence::isGnssTalker(std::string_view talker)
{
    for (const char* known : {"GP", "GN", "GL", "GA", "GB", "BD", "GQ"})
        if (talker == known)
            return true;
    return false;
}

bool NmeaSentence::hasAddress(std::string_view sentence, std::string_view type)
{
    if (sentence.size() < addressLength)
        return false;
    if (!isGnssTalker(sentence.substr(0, 2)) || sentence.substr(2, 3) != type)
        return false;
    // "$GPRMCX" is another sentence; "$GPRMC*hh" is ours, only empty.
    return sentence.size() == addressLength || sentence[addressLength] == ',' || sentence[addressLength] == '*';
}

bool NmeaSentence::parse(std::string_view sentence)
{
    const size_t star = sentence.find('*');
    const std::string_view data = sentence.substr(0, star);
    if (star != std::string_view::npos && !checksumMatches(data, sentence.substr(star + 1)))
        return false;
    if (data.size() <= addressLength || data[addressLength] != ',')
        return false;
    return split(data.substr(addressLength + 1));
}

// The checksum is the XOR of every character between '$' and '*', written
// as exactly two hexadecimal digits that end the sentence.
bool NmeaSentence::checksumMatches(std::string_view data, std::string_view checksum)
{
    if (checksum.size() != 2)
        return false;
    const int high = hexValue(checksum[0]);
    const int low = hexValue(checksum[1]);
    if (high < 0 || low < 0)
        return false;
    unsigned sum = 0;
    for (char c : data)
        sum ^= static_cast<unsigned char>(c);
    return sum == static_cast<unsigned>(high * 16 + low);
}

bool NmeaSentence::split(std::string_view data)
{
    count_ = 0;
    size_t start = 0;
    for (;;) {
        if (count_ == maxFields) {
            count_ = 0;
            return false;
        }
        const size_t comma = data.find(',', start);
        fields_[count_++] = data.substr(start, comma == std::string_view::npos ? std::string_view::npos : comma - start);
        if (comma == std::string_view::npos)
            return true;
        start = comma + 1;
    }
}
