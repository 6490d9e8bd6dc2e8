// LoggerStatusSignal: a status value of the logger itself (status, start,
// memory usage, timer), fed by the logger's system messages.
//
// Only the predefined names exist; "Logger.IntMemory" and "Logger.ExtMemory"
// share one input key and are told apart by name when a usage message is
// decoded. Every logger status signal is also in a class-wide set, through
// which updateTimestamp gives them all a common time stamp.
//
// Thread safety as InputSignal: construction, destruction and the class-wide
// tables are not synchronised; decoding and updateTimestamp take each
// signal's slot lock.
#pragma once

#include "input/InputSignal.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

struct SystemMessage;

class LoggerStatusSignal : public InputSignal {
public:
    // A definition whose instance name is not predefined is reported and the
    // signal never receives a value; units and value descriptions of the
    // predefined names are applied either way.
    LoggerStatusSignal(const inputSignalDef_t& definition, bool shmem = false, SignalStorage* storage = nullptr);
    ~LoggerStatusSignal() override;

    // Sets the time stamp of every logger status signal; values and validity
    // stay as they are.
    static void updateTimestamp(unsigned long timestamp);

    // Codes 16 (status), 30 (start), 31 (timer) carry a decimal number as
    // text; code 2 is a usage message with three usage bytes, 255 meaning no
    // memory. Empties ids; false for any other code.
    static bool decodeSystemMessage(const SystemMessage& msg, std::vector<unsigned long>& ids,
                                    SignalStorage* storage = nullptr);

    // Instance name -> input key.
    static std::map<std::string, uint64_t> predefinedLoggerInputs;
    // Texts given to "Logger.Status" and to the memory signals when their
    // definitions bring none.
    static std::map<uint64_t, std::string> loggerStatusValueDescription;
    static std::map<uint64_t, std::string> memoryValueDescription;
    static std::set<LoggerStatusSignal*> allInstancesLoggerStatusSignals;

private:
    void applyPredefinedPresentation();
};
