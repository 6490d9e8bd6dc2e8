// The message sink: a client's sink gets every line by destination, traces
// included, and decides what a fatal fault does; the default ends the process.
#include "expression/ExpParser.h"
#include "support/OutputCapture.h"
#include "support/SignalTestSupport.h"
#include "signal/MessageSink.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace {

class Collected : public MessageSink {
public:
    std::ostream& stream(MessageStream destination) override
    {
        return destination == MessageStream::Error ? error : output;
    }
    void fatal(int status, const std::string& text) override
    {
        throw std::runtime_error(std::to_string(status) + " " + text);
    }

    std::ostringstream output;
    std::ostringstream error;
};

// A program whose first step lacks its operands.
void underflow()
{
    ExpParser parser("1");
    parser.program.clear();
    parser.add(&ExpParser::opplus);
    bool result = false;
    parser.getExpResult(result);
}

} // namespace

TEST(MessageSink, ClientSinkGetsEveryLineByDestination)
{
    OutputCapture standardStreams;
    SignalStorage storage;
    BaseSignal speed(definitionOf("speed"), false, &storage);
    {
        Collected sink;
        MessageSink::Scope installed(sink);
        BaseSignal twin(definitionOf("speed"), false, &storage);
        ExpParser::debug = 2;
        ExpParser traced("speed > nosuch", false, &storage);
        ExpParser::debug = 0;
        expdebug = 0; // left on by the parse above until the client turns it off

        EXPECT_EQ(sink.output.str().rfind("[ERROR] BaseSignal::BaseSignal() speed already exists\n"
                                          "[DEBUG] parsing speed > nosuch\n",
                                          0),
                  0u);
        const std::string error = sink.error.str();
        EXPECT_NE(error.find("[ERROR] ExpParser::add: Signal not found: nosuch\n"), std::string::npos);
        EXPECT_NE(error.find("Starting parse\n"), std::string::npos);                   // parser trace
        EXPECT_NE(error.find("--accepting rule at line "), std::string::npos);          // scanner trace
        std::string fault;
        try {
            underflow();
        } catch (const std::runtime_error& thrown) {
            fault = thrown.what();
        }
        EXPECT_EQ(fault, "4 Less than 2 elements on bool stack (0)");
    }
    EXPECT_EQ(standardStreams.out() + standardStreams.err(), "");
    ExpParser("nosuch", false, &storage);
    EXPECT_EQ(standardStreams.err(), "[ERROR] ExpParser::add: Signal not found: nosuch\n");
}

TEST(MessageSinkDeathTest, FatalFaultEndsTheProcessUnlessTheSinkThrows)
{
    EXPECT_EXIT(underflow(), testing::ExitedWithCode(4), "^Less than 2 elements on bool stack \\(0\\)\n$");

    // A sink that neither throws nor ends the process is overruled.
    struct Returns : Collected {
        void fatal(int, const std::string&) override {}
    } returns;
    EXPECT_EXIT(
        {
            MessageSink::Scope installed(returns);
            underflow();
        },
        testing::ExitedWithCode(4), "^$");
}
