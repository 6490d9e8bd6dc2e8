// NMEA logs of real receivers against gpsd's own decoding of them (the .chk
// file beside each log: every sentence, then the reports gpsd made from
// it). Where gpsd reports right after an RMC sentence, its time, position,
// speed and track are that sentence's; right after a GGA sentence, its
// altitude above mean sea level is.
#include "RealWorld.h"

#include "trace/GPSTraceMessage.h"
#include "trace/NmeaSentence.h"

#include <nlohmann/json.hpp>

#include <dirent.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>

namespace {

double asDouble(uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::vector<std::string> checkFiles(const std::string& folder)
{
    std::vector<std::string> files;
    if (DIR* dir = opendir(folder.c_str())) {
        while (const dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name.size() > 8 && name.compare(name.size() - 8, 8, ".log.chk") == 0)
                files.push_back(folder + "/" + name);
        }
        closedir(dir);
    }
    std::sort(files.begin(), files.end());
    return files;
}

// gpsd's report of position, velocity and time that follows a sentence.
struct Report {
    bool found = false;
    nlohmann::json tpv;
};

// "2014-12-31T03:07:19.000Z" as hhmmss and ddmmyy.
bool timeOfReport(const std::string& text, int64_t& hhmmss, int64_t& ddmmyy)
{
    int year, month, day, hour, minute, second;
    if (std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d", &year, &month, &day, &hour, &minute, &second) != 6)
        return false;
    hhmmss = hour * 10000 + minute * 100 + second;
    ddmmyy = day * 10000 + month * 100 + year % 100;
    return true;
}

void compareRmc(const GPSTraceMessage& sentence, const nlohmann::json& tpv, const std::string& where,
                realworld::Agreement& agreement)
{
    GPSTraceMessage::numeric_gprmc_t rmc;
    int64_t hhmmss = 0, ddmmyy = 0;
    if (!tpv.contains("time") || !timeOfReport(tpv["time"].get<std::string>(), hhmmss, ddmmyy))
        return;
    if (!sentence.getGPRMC(rmc)) {
        agreement.check(false, where + ": gpsd reads a fix from it, we reject it");
        return;
    }
    if (rmc.time != hhmmss)
        return; // gpsd reports a fix of another sentence here
    // gpsd moves this receiver's dates on by 1024 weeks, taking them for a
    // GPS week rollover: 19.02.14 becomes 05.10.33. Not the sentence's date.
    if (where.rfind("rst39.log", 0) != 0)
        agreement.check(rmc.date % 10000 == ddmmyy % 10000, where + ": day and month");
    if (rmc.status == 0 || !tpv.contains("lat"))
        return;
    const bool empty = rmc.emptyFields & (GPSTraceMessage::EmptyLatitude | GPSTraceMessage::EmptyLongitude);
    agreement.check(!empty, where + ": position");
    agreement.near(asDouble(rmc.latitude), tpv["lat"].get<double>(), 5.1e-9, where + ": latitude");
    agreement.near(asDouble(rmc.longitude), tpv["lon"].get<double>(), 5.1e-9, where + ": longitude");
    if (tpv.contains("speed") && !(rmc.emptyFields & GPSTraceMessage::EmptySpeed))
        agreement.near(asDouble(rmc.speed) / 3.6, tpv["speed"].get<double>(), 5.1e-4, where + ": speed");
    if (tpv.contains("track") && !(rmc.emptyFields & GPSTraceMessage::EmptyCourse))
        agreement.near(asDouble(rmc.course), tpv["track"].get<double>(), 5.1e-5, where + ": track");
}

void compareGga(const GPSTraceMessage& sentence, const nlohmann::json& tpv, const std::string& where,
                realworld::Agreement& agreement)
{
    if (!tpv.contains("altMSL"))
        return;
    GPSTraceMessage::numeric_gpgga_t gga;
    if (!sentence.getGPGGA(gga)) {
        agreement.check(false, where + ": gpsd reads an altitude from it, we reject it");
        return;
    }
    if (!(gga.emptyFields & GPSTraceMessage::EmptyAltitude))
        agreement.near(asDouble(gga.altitude), tpv["altMSL"].get<double>(), 5.1e-5, where + ": altitude");
}

} // namespace

TEST(RealNmea, RmcAndGgaValuesAreGpsdsWhereItTakesThemFromTheSameSentence)
{
    const std::string folder = realworld::folder("nmea");
    REALWORLD_REQUIRE(folder, "");
    realworld::Agreement agreement;
    size_t logs = 0;
    for (const std::string& path : checkFiles(folder)) {
        ++logs;
        std::ifstream in(path);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        for (size_t i = 0; i < lines.size(); ++i) {
            const std::string& line = lines[i];
            if (line.size() < 7 || line[0] != '$' || !NmeaSentence::isGnssTalker(line.substr(1, 2)))
                continue;
            const std::string type = line.substr(3, 3);
            if (type != "RMC" && type != "GGA")
                continue;
            nlohmann::json tpv;
            for (size_t j = i + 1; j < lines.size() && lines[j].rfind("$", 0) != 0 && tpv.is_null(); ++j) {
                const auto report = nlohmann::json::parse(lines[j], nullptr, false);
                if (!report.is_discarded() && report.is_object() && report.value("class", "") == "TPV")
                    tpv = report;
            }
            if (tpv.is_null())
                continue;
            GPSTraceMessage sentence;
            sentence.nmea = line;
            const std::string where = path.substr(folder.size() + 1) + ":" + std::to_string(i + 1);
            if (type == "RMC")
                compareRmc(sentence, tpv, where, agreement);
            else
                compareGga(sentence, tpv, where, agreement);
        }
    }
    EXPECT_GT(logs, 50u);
    EXPECT_GT(agreement.compared, 3000u);
    std::cout << logs << " NMEA logs: " << agreement.agreeing << " of " << agreement.compared
              << " values agree with gpsd\n";
}
