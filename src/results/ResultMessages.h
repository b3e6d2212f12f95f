#pragma once

#include "net/Messages.h"
#include "results/Results.h"

namespace tarvex {

// What the results table takes from received messages. The race window's receive switch
// routes the progress (12), time (14, 15, 16) and false-start (18) messages here, after
// decoding them; relaying them on is the window's part.
void OnProgress(Results& results, const ProgressMsg& msg);
void OnTime(Results& results, const TimeMsg& msg);
// A client already marked its own false start when it happened, so the host's echo of it is
// not applied again there.
void OnFalseStart(Results& results, const FalseStartMsg& msg, bool is_host, int local_slot);

// Decodes and applies one of those messages (the type byte already read). False for any
// other type or a message that does not decode.
bool ReceiveResult(Results& results, MessageType type, WireReader& reader, bool is_host,
                   int local_slot);

} // namespace tarvex
