// GPSSignal: one of the nine values of the logger's GPS receiver.
//
// Only the predefined names exist ("GPS.Time", "GPS.Status", "GPS.Latitude",
// "GPS.Longitude", "GPS.Speed", "GPS.Course", "GPS.Date", "GPS.Satellites",
// "GPS.Altitude"); each gets its type and unit from the tables below. GPS
// signals are not filed under an input key: the decoder finds them by name
// in the storage, and writes the RMC values (and, once a fix is active, the
// GGA values) of each GPS trace message into them.
//
// Thread safety: as InputSignal. gpsStatus is class-wide state of the
// decoder: decode the GPS messages of one receiver on one thread.
#pragma once

#include "input/InputSignal.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct GPSTraceMessage;

class GPSSignal : public InputSignal {
public:
    // An unknown name is reported; the signal gets no identifier, but type
    // and unit of a predefined name are applied either way.
    GPSSignal(const inputSignalDef_t& definition, bool shmem = false, SignalStorage* storage = nullptr);

    // Dates read "dd.mm.yy", times "hh:mm:ss", coordinates as degrees,
    // minutes and seconds with the hemisphere letter; other signals use
    // their value description table.
    std::string getValueDescription(unsigned long raw) const override;

    // Writes the message's RMC and GGA values into the GPS signals of
    // `storage`. A void RMC fix clears every GPS value but the status; GGA
    // values count only after an active RMC fix. Empties ids; true when an
    // identifier was appended.
    static bool decodeMessage(const GPSTraceMessage& msg, std::vector<unsigned long>& ids,
                              SignalStorage* storage = nullptr);

    // Name -> identifier base; its keys are the accepted names.
    static std::map<std::string, uint64_t> gps_ids;
    static std::map<std::string, signalValue_t> gpsSignalTypes;
    static std::map<std::string, std::string> gpsSignalUnit;
    static std::map<uint64_t, std::string> gpsStatusValueDescription;
    // Status of the last RMC sentence (0 void); kept between messages.
    static uint8_t gpsStatus;
    // False (the default): a field the receiver left empty is written as
    // 0, as the logger does. True: its signal is not written, so that a
    // missing course or altitude is no value rather than a false 0. Set it
    // before decoding starts.
    static bool skipEmptyFields;
};
