// GPSTraceMessage: the NMEA 0183 sentences of one GPS fix.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>

struct GPSTraceMessage {
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
    };

    // Fix data (GGA).
    struct numeric_gpgga_t {
        uint16_t satellites = 0;
        uint64_t altitude = 0;  // double, metres
    };

    uint64_t timestamp = 0;
    std::string nmea; // one or more sentences, CR/LF separated

    // Find and parse the RMC / GGA sentence (talker GP or GN). False when the
    // sentence is missing or malformed.
    bool getGPRMC(numeric_gprmc_t& rmc) const;
    bool getGPGGA(numeric_gpgga_t& gga) const;
};

std::ostream& operator<<(std::ostream& os, const GPSTraceMessage& msg);
