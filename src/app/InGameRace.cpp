#include "app/InGameRace.h"

#include "app/Tarvex.h"
#include "net/StandingsBoard.h"
#include "results/TimeText.h"

namespace tarvex {

InGameChat::Race InGameRace(Tarvex& tarvex) {
    InGameChat::Race race;
    race.StartGiven = [&tarvex] {
        return tarvex.flags.StartGiven == 1;
    };
    race.FalseStartSent = [&tarvex] {
        return tarvex.reader().FalseStartSent();
    };
    race.BoardText = [&tarvex] {
        const RaceResult& newest = tarvex.results.Race(tarvex.results.UpperBound());
        BoardInput input;
        input.finish = newest.Finish;
        input.progress = newest.Percent;
        input.stage_length = float(tarvex.reader().GetStageLength());
        input.start_given = tarvex.flags.StartGiven == 1;
        input.is_host = tarvex.IsHost;
        input.finish_sent = tarvex.reader().FinishSent();
        input.format_time = FormatRaceTime;
        return StandingsBoard(tarvex.roster, input);
    };
    return race;
}

} // namespace tarvex
