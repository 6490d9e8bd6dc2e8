# Run as a script: copies the flex-generated scanner INPUT to OUTPUT with
# every use of std::cerr (the skeleton's trace lines, and its default error
# report, which YY_FATAL_ERROR replaces) written through the message sink.
file(READ ${INPUT} text)
string(FIND "${text}" "std::cerr" first)
if(first EQUAL -1)
  message(FATAL_ERROR "${INPUT}: no std::cerr to route; has the flex skeleton changed?")
endif()
string(REPLACE "std::cerr" "MessageLine::Trace(MessageStream::Error)" text "${text}")
file(WRITE ${OUTPUT} "${text}")
