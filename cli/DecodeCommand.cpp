#include "cli/DecodeCommand.h"

#include "decode/ReplayPacer.h"
#include "decode/SignalSet.h"
#include "decode/TriggerSet.h"
#include "definitions/DefinitionFiles.h"
#include "output/CsvRowWriter.h"
#include "output/JsonlRowWriter.h"
#include "output/OutputBuffer.h"
#include "output/ProgressBar.h"
#include "output/TableRowWriter.h"
#include "recordings/RecordingFiles.h"
#include "recordings/RecordingMerge.h"
#include "recordings/RecordingReport.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <memory>
#include <set>

namespace rksignal {

namespace {

struct Counts {
    uint64_t frames = 0;
    uint64_t framesWithSignals = 0;
    uint64_t writes = 0;
    uint64_t triggersFired = 0;
};

// "NAME=N"; the last '=' separates, as a capture's file name may hold one.
bool parseChannelMap(const std::string& text, std::string& interface, uint8_t& channel)
{
    const size_t equals = text.rfind('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 >= text.size())
        return false;
    const std::string number = text.substr(equals + 1);
    if (number.size() > 3 || number.find_first_not_of("0123456789") != std::string::npos || std::stoul(number) > 255)
        return false;
    interface = text.substr(0, equals);
    channel = uint8_t(std::stoul(number));
    return true;
}

double replaySpeed(const DecodeOptions& options)
{
    if (options.speed > 0)
        return options.speed;
    return options.realtime ? 1.0 : 0.0;
}

// One run of the command: the signals, triggers and output, and the loop
// over the messages of the recordings, merged in time-stamp order.
class DecodeRun {
public:
    explicit DecodeRun(const DecodeOptions& options)
        : options_(options), signals_(options.sharedMemory), out_(STDOUT_FILENO, 1 << 18),
          pacer_(replaySpeed(options), &out_), files_(report_)
    {
        // A writer removes its segments when it ends, unless asked to leave
        // the last values for readers that come later.
        BaseSignal::detachOnly = options.keepSegments;
    }

    int run()
    {
        if (!prepare())
            return 2;
        std::unique_ptr<RecordingReader> recordings = openRecordings();
        if (writer_)
            writer_->begin();
        const auto started = std::chrono::steady_clock::now();
        if (recordings)
            decodeAll(*recordings);
        if (writer_ && !writer_->finish())
            std::cerr << "rksignal: writing the output failed" << std::endl;
        summary(std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
        return report_.failed() ? 1 : 0;
    }

private:
    bool prepare()
    {
        ids_.reserve(256);
        for (const std::string& map : options_.channelMaps) {
            std::string interface;
            uint8_t channel = 0;
            if (!parseChannelMap(map, interface, channel)) {
                std::cerr << "rksignal: --channel " << map << ": expected IFACE=N with N from 0 to 255" << std::endl;
                return false;
            }
            files_.mapChannel(interface, channel, options_.recordings);
        }
        DefinitionSet definitions;
        std::vector<std::string> problems;
        std::string error;
        if (!DefinitionFiles::read(options_.definitionFiles, definitions, problems, error)) {
            std::cerr << "rksignal: " << error << std::endl;
            return false;
        }
        files_.useFlexRaySegments(definitions);
        signals_.build(definitions, problems);
        for (const std::string& problem : problems)
            std::cerr << "rksignal: warning: " << problem << std::endl;
        signals_.select(options_.signalPatterns);
        if (!triggers_.compile(options_.triggers, options_.edge, signals_, error)) {
            std::cerr << "rksignal: " << error;
            return false;
        }
        return chooseWriter();
    }

    bool chooseWriter()
    {
        std::string format = options_.format;
        if (format.empty())
            format = isatty(STDOUT_FILENO) ? "table" : "csv";
        if (format == "table")
            writer_ = std::make_unique<TableRowWriter>(out_, std::max<size_t>(signals_.longestShownInstance(), 8));
        else if (format == "csv")
            writer_ = std::make_unique<CsvRowWriter>(out_);
        else if (format == "jsonl")
            writer_ = std::make_unique<JsonlRowWriter>(out_);
        else if (format != "none") {
            std::cerr << "rksignal: --format " << format << ": expected table, csv, jsonl or none" << std::endl;
            return false;
        }
        return true;
    }

    // One reader over all recordings: the recording itself when there is
    // one, their time-ordered merge when there are several. Null when none
    // could be opened.
    std::unique_ptr<RecordingReader> openRecordings()
    {
        std::vector<std::unique_ptr<RecordingReader>> readers;
        for (const std::string& path : options_.recordings) {
            std::string error;
            if (auto reader = files_.open(path, error))
                readers.push_back(std::move(reader));
            else
                report_.error(path, error);
        }
        if (readers.size() == 1)
            return std::move(readers.front());
        if (readers.empty())
            return nullptr;
        return std::make_unique<RecordingMerge>(std::move(readers));
    }

    void decodeAll(RecordingReader& recordings)
    {
        const std::string label = options_.recordings.size() == 1
                                      ? options_.recordings.front()
                                      : std::to_string(options_.recordings.size()) + " recordings";
        ProgressBar progress(label, recordings.fileSize());
        while (recordings.next()) {
            progress.update([&recordings] { return recordings.bytesConsumed(); });
            decode(recordings.message());
        }
    }

    // Every kind of message takes this one path: its decoder, then the rows
    // of the signals written, the triggers that read them and the time-outs.
    void decode(const RecordedMessage& message)
    {
        pacer_.pace(message.timestamp());
        ++counts_.frames;
        if (!message.decode(ids_, signals_.storage()))
            return;
        ++counts_.framesWithSignals;
        counts_.writes += ids_.size();
        for (unsigned long id : ids_) {
            SignalSet::Entry* entry = signals_.find(id);
            if (entry == nullptr)
                continue;
            if (writer_ && entry->shown && (options_.allWrites || entry->signal->isModified()))
                writeRow(*entry);
            triggers_.touch(*entry);
            if (options_.timeoutMs)
                stale_.erase(id);
        }
        triggers_.evaluate([this](size_t index) {
            ++counts_.triggersFired;
            if (writer_)
                writer_->triggerRow(triggers_.parser(index).getLastestTime(), triggers_.expression(index));
        });
        if (options_.timeoutMs && message.timestamp() >= nextTimeoutCheck_)
            checkTimeouts(message.timestamp());
    }

    void writeRow(SignalSet::Entry& entry)
    {
        double value = 0;
        unsigned long timestamp = 0;
        entry.signal->read(value, timestamp);
        std::string description;
        if (entry.describes)
            description = entry.signal->getValueDescription(entry.signal->slot->raw);
        writer_->signalRow({timestamp, entry.instance, value, entry.unit, description});
    }

    // Signals whose newest value is older than the time-out, each reported
    // once until it is written again.
    void checkTimeouts(uint64_t now)
    {
        const uint64_t timeout = options_.timeoutMs * 1000u;
        nextTimeoutCheck_ = now + std::max<uint64_t>(timeout / 4, 1000);
        if (now < timeout)
            return;
        BaseSignal::checkTimeout(now - timeout, staleIds_, &signals_.storage());
        for (unsigned long id : staleIds_) {
            if (!stale_.insert(id).second)
                continue;
            const SignalSet::Entry* entry = signals_.find(id);
            if (writer_ && entry && entry->shown)
                writer_->timeoutRow(now, entry->instance);
        }
    }

    void summary(double seconds) const
    {
        char packets[64] = "";
        if (report_.badPackets())
            std::snprintf(packets, sizeof packets, ", %llu bad packets", (unsigned long long)report_.badPackets());
        char text[512];
        std::snprintf(text, sizeof text,
                      "rksignal: %llu frames read, %llu with signals, %llu signal writes, %llu triggers fired, "
                      "%llu bad lines%s; %.3f s, %.0f frames/s\n",
                      (unsigned long long)counts_.frames, (unsigned long long)counts_.framesWithSignals,
                      (unsigned long long)counts_.writes, (unsigned long long)counts_.triggersFired,
                      (unsigned long long)report_.badLines(), packets, seconds,
                      seconds > 0 ? double(counts_.frames) / seconds : 0.0);
        std::cerr << text;
    }

    const DecodeOptions& options_;
    SignalSet signals_;
    TriggerSet triggers_; // after the signals: destroyed before them
    OutputBuffer out_;
    std::unique_ptr<RowWriter> writer_;
    ReplayPacer pacer_;
    RecordingReport report_;
    RecordingFiles files_; // after the report it writes to
    std::vector<unsigned long> ids_;
    std::vector<unsigned long> staleIds_;
    std::set<unsigned long> stale_;
    uint64_t nextTimeoutCheck_ = 0;
    Counts counts_;
};

} // namespace

int DecodeCommand::run(const DecodeOptions& options)
{
    DecodeRun run(options);
    return run.run();
}

} // namespace rksignal
