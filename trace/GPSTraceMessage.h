// GPSTraceMessage: the NMEA 0183 sentences of one GPS fix.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>

struct GPSTraceMessage {
    // Bits of emptyFields: fields the receiver sent empty (it had no value
    // for them); the record holds 0 there.
    enum EmptyField : uint8_t { EmptyTime = 1, EmptyLatitude = 2, EmptyLongitude = 4, EmptySpeed = 8,
                                EmptyCourse = 16, EmptyDate = 32, EmptySatellites = 64, EmptyAltitude = 128 };

    // Recommended minimum data (RMC). Doubles are carried as their bit
    // patterns so that the record can be copied into raw signal values.
    struct numeric_gprmc_t {
        int64_t time = 0;       // hhmmss, fractions of a second dropped
        uint8_t status = 0;     // 1 for "A" (active), 0 for "V" (void)
        uint64_t latitude = 0;  // double, decimal degrees, negative south
        uint64_t longitude = 0; // double, decimal degrees, negative west
        uint64_t speed = 0;     // double, km/h
        uint64_t course = 0;    // double, degrees
        int64_t date = 0;       // ddmmyy
        uint8_t emptyFields = 0;
    };

    // Fix data (GGA).
    struct numeric_gpgga_t {
        uint16_t satellites = 0;
        uint64_t altitude = 0;  // double, metres
        uint8_t emptyFields = 0;
    };

    uint64_t timestamp = 0;
    std::string nmea; // one or more sentences, CR/LF separated

    // Find and parse the RMC / GGA sentence of any satellite system's talker
    // (GP, GN, GL, GA, GB, BD, GQ). False when the sentence is missing, fails
    // its checksum, is cut short of the fields the record holds, or one of
    // those fields is malformed; fields the record does not hold are not
    // looked at.
    bool getGPRMC(numeric_gprmc_t& rmc) const;
    bool getGPGGA(numeric_gpgga_t& gga) const;
};

std::ostream& operator<<(std::ostream& os, const GPSTraceMessage& msg);
