// NmeaSentence: one NMEA 0183 sentence picked out of a receiver's text,
// checked and split into its fields.
//
// The sentence is a view into the caller's text: nothing is copied or
// allocated, and no byte outside the text is read, so it serves the
// per-message decoding path. The text must outlive the object. One object
// per thread.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

class NmeaSentence {
public:
    // More fields than this marks a sentence as malformed; the longest
    // sentences we read (GGA) have 14, some receivers add one.
    static constexpr size_t maxFields = 20;

    // Finds the first sentence whose address is the talker of a satellite
    // system (see isGnssTalker) followed by `type` (three letters, e.g.
    // "RMC") and splits it. False when there is none, when its "*hh"
    // checksum does not match, or when it is malformed.
    bool find(std::string_view text, std::string_view type);

    // The talkers of the satellite systems: "GP" (GPS), "GN" (several
    // systems combined), "GL" (GLONASS), "GA" (Galileo), "GB" and "BD"
    // (BeiDou), "GQ" (QZSS).
    static bool isGnssTalker(std::string_view talker);

    // Number of fields after the address.
    size_t size() const { return count_; }
    // Field `index` after the address, counted from 0; empty beyond size().
    std::string_view field(size_t index) const { return index < count_ ? fields_[index] : std::string_view(); }

private:
    static bool hasAddress(std::string_view sentence, std::string_view type);
    static bool checksumMatches(std::string_view data, std::string_view checksum);
    bool parse(std::string_view sentence);
    bool split(std::string_view data);

    std::array<std::string_view, maxFields> fields_{};
    size_t count_ = 0;
};
