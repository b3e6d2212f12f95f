#include "results/ResultMessages.h"

namespace tarvex {

void OnProgress(Results& results, const ProgressMsg& msg) {
    results.RecordPercent(msg.slot, msg.progress);
}

void OnTime(Results& results, const TimeMsg& msg) {
    results.RecordTime(int(msg.kind), msg.slot, msg.time);
}

void OnFalseStart(Results& results, const FalseStartMsg& msg, bool is_host, int local_slot) {
    if (is_host || msg.slot != local_slot) {
        results.RecordFalseStart(msg.slot);
    }
}

bool ReceiveResult(Results& results, MessageType type, WireReader& reader, bool is_host,
                   int local_slot) {
    switch (type) {
    case MessageType::Progress:
        if (const auto msg = ProgressMsg::decode(reader)) {
            OnProgress(results, *msg);
            return true;
        }
        return false;
    case MessageType::Split1:
    case MessageType::Split2:
    case MessageType::Finish:
        if (const auto msg = TimeMsg::decode(reader, type)) {
            OnTime(results, *msg);
            return true;
        }
        return false;
    case MessageType::FalseStart:
        if (const auto msg = FalseStartMsg::decode(reader)) {
            OnFalseStart(results, *msg, is_host, local_slot);
            return true;
        }
        return false;
    default:
        return false;
    }
}

} // namespace tarvex
