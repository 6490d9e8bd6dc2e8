#include "trace/GPSTraceMessage.h"

#include "trace/ByteText.h"

bool GPSTraceMessage::getGPRMC(numeric_gprmc_t&) const
{
    // NMEA parsing is not written yet: no sentence is recognised.
    return false;
}

bool GPSTraceMessage::getGPGGA(numeric_gpgga_t&) const
{
    return false;
}

std::ostream& operator<<(std::ostream& os, const GPSTraceMessage& msg)
{
    rktrace::printTimestamp(os, msg.timestamp);
    os << ",nmea=";
    // Sentences are CR/LF separated; keep the print form on one line.
    for (char c : msg.nmea)
        os << ((c == '\r' || c == '\n') ? ' ' : c);
    return os;
}
