// rksignal-decode.h: every public header of librksignal-decode, the decoding
// library behind the rksignal tool (definition files, recordings, decoding).
#pragma once

#include "definitions/DefinitionFiles.h"
#include "definitions/DefinitionSet.h"

#include "recordings/RecordedMessage.h"
#include "recordings/RecordingFiles.h"
#include "recordings/RecordingReader.h"
#include "recordings/RecordingReport.h"
#include "recordings/RecordingWriter.h"
#include "recordings/RecordingWriters.h"

#include "decode/DecodeOptions.h"
#include "decode/DecodeStats.h"
#include "decode/DecodedRow.h"
#include "decode/Decoder.h"
#include "decode/LiveValues.h"
