#include "output/StatsReport.h"

#include "output/TimeText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace rksignal {

namespace {

using json = nlohmann::ordered_json;

std::string line(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string line(const char* format, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string identifierText(const IdentifierStats& stats)
{
    std::string text = std::string(stats.bus()) + " " + std::to_string(stats.channel);
    const std::string id = stats.idText();
    return id.empty() ? text : text + " " + id;
}

// A NaN or infinity has no JSON number: null.
json number(double value)
{
    return std::isfinite(value) ? json(value) : json();
}

} // namespace

void StatsReport::writeTable(std::ostream& out, const DecodeStats& stats)
{
    out << line("%-22s %10s %10s %14s %7s %10s %8s\n", "identifier", "frames", "rate/s", "largest gap s", "short",
                "no branch", "J1939");
    for (const IdentifierStats& id : stats.identifiers())
        out << line("%-22s %10llu %10.2f %14.6f %7llu %10llu %8llu%s\n", identifierText(id).c_str(),
                    (unsigned long long)id.frames, id.meanRate(), double(id.largestGap) / 1e6,
                    (unsigned long long)id.shortFrames, (unsigned long long)id.muxWithoutBranch,
                    (unsigned long long)id.transportErrors, id.known ? "" : "  unknown");
    out << line("%llu frames of unknown identifiers\n", (unsigned long long)stats.unknownFrames());
    size_t width = 8;
    for (const SignalStats& signal : stats.signals())
        width = std::max(width, signal.instance.size());
    out << '\n' << line("%-*s %10s %10s %14s %14s  %s\n", int(width), "signal", "writes", "changes", "minimum",
                        "maximum", "last time");
    TimeText time;
    std::string never;
    for (const SignalStats& signal : stats.signals()) {
        if (signal.writes == 0) {
            never += (never.empty() ? "" : ", ") + signal.instance;
            continue;
        }
        out << line("%-*s %10llu %10llu %14.10g %14.10g  ", int(width), signal.instance.c_str(),
                    (unsigned long long)signal.writes, (unsigned long long)signal.changes, signal.minimum,
                    signal.maximum)
            << time.format(signal.lastTime) << '\n';
    }
    out << "never written: " << (never.empty() ? "none" : never) << '\n';
}

void StatsReport::writeJson(std::ostream& out, const DecodeStats& stats)
{
    TimeText time;
    json identifiers = json::array();
    for (const IdentifierStats& id : stats.identifiers())
        identifiers.push_back({{"bus", id.bus()},
                               {"channel", id.channel},
                               {"id", id.idText()},
                               {"extended", id.extended},
                               {"known", id.known},
                               {"frames", id.frames},
                               {"first", std::string(time.format(id.first))},
                               {"last", std::string(time.format(id.last))},
                               {"firstUs", id.first},
                               {"lastUs", id.last},
                               {"meanRate", id.meanRate()},
                               {"largestGap", double(id.largestGap) / 1e6},
                               {"shortFrames", id.shortFrames},
                               {"muxWithoutBranch", id.muxWithoutBranch},
                               {"transportErrors", id.transportErrors}});
    json signals = json::array(), never = json::array();
    for (const SignalStats& signal : stats.signals()) {
        if (signal.writes == 0) {
            never.push_back(signal.instance);
            continue;
        }
        signals.push_back({{"instance", signal.instance},
                           {"writes", signal.writes},
                           {"changes", signal.changes},
                           {"minimum", number(signal.minimum)},
                           {"maximum", number(signal.maximum)},
                           {"lastTime", std::string(time.format(signal.lastTime))},
                           {"lastUs", signal.lastTime}});
    }
    const json report = {{"identifiers", identifiers},
                         {"unknownFrames", stats.unknownFrames()},
                         {"signals", signals},
                         {"neverWritten", never}};
    out << report.dump(2) << '\n';
}

} // namespace rksignal
