// A race of real processes (scripts/local-race): each player a Tarvex and a stand-in game on an
// Xvfb display of its own. Measures, from the games' status lines (stamped with
// CLOCK_MONOTONIC) and the processes' own CPU accounting:
// - start skew: how far apart the games' clocks start after the one start signal;
// - seconds from "Start" to the last car at the line, and to the start signal;
// - Tarvex CPU per copy while racing, against the same copies waiting in the lobby and
//   through the launch countdown (the floor: a Tarvex with nothing to do).

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <unistd.h>
#include <vector>

namespace {

double MonotonicMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return double(now.tv_sec) * 1000.0 + double(now.tv_nsec) / 1e6;
}

// User plus system CPU of a process in milliseconds; -1 once it is gone.
double CpuMs(qint64 pid) {
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QByteArray line = file.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 13) {
        return -1;
    }
    const double ticks = fields[11].toDouble() + fields[12].toDouble();
    return ticks * 1000.0 / double(sysconf(_SC_CLK_TCK));
}

struct Sample {
    double at;
    double cpu;
};

// CPU used between two moments, from the samples around them.
double CpuBetween(const std::vector<Sample>& samples, double from, double to) {
    auto at = [&](double moment) {
        double cpu = 0;
        for (const Sample& sample : samples) {
            if (sample.at > moment) {
                break;
            }
            cpu = sample.cpu;
        }
        return cpu;
    };
    return at(to) - at(from);
}

// What one game's status lines tell about its start.
struct GameStart {
    double first_line = 0; // the game came up
    double at_line = 0;    // the car stands at the start line, countdown held
    double clock_zero = 0; // the moment its countdown reached 0
    double finished = 0;
};

GameStart ReadStatus(const QString& path) {
    GameStart start;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return start;
    }
    double last_t = 0, last_countdown = 0;
    bool counting = false;
    while (!file.atEnd()) {
        const QJsonObject line = QJsonDocument::fromJson(file.readLine()).object();
        const double t = line.value(QStringLiteral("t")).toDouble();
        if (start.first_line == 0) {
            start.first_line = t;
        }
        const bool in_stage = line.value(QStringLiteral("in_stage")).toBool();
        const bool pre_start = line.value(QStringLiteral("pre_start")).toBool();
        const double countdown = line.value(QStringLiteral("countdown")).toDouble();
        const double race_time = line.value(QStringLiteral("race_time")).toDouble();
        if (in_stage && !pre_start && start.at_line == 0) {
            start.at_line = t;
        }
        if (in_stage && !pre_start && race_time == 0 && countdown > 0 && countdown < 6.99) {
            last_t = t;
            last_countdown = countdown;
            counting = true;
        }
        if (counting && race_time > 0 && start.clock_zero == 0) {
            start.clock_zero = last_t + last_countdown * 1000.0;
        }
        if (line.value(QStringLiteral("finished")).toBool() && start.finished == 0) {
            start.finished = t;
        }
    }
    return start;
}

void Run(const QString& root, const QString& build, int bots) {
    QTemporaryDir work;
    const QString dir = work.path();
    QProcess race;
    race.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    race.setStandardOutputFile(QProcess::nullDevice());
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("BUILD_DIR"), build);
    env.remove(QStringLiteral("DISPLAY"));
    race.setProcessEnvironment(env);
    race.start(root + QStringLiteral("/scripts/local-race"),
               {dir, QStringLiteral("--bots"), QString::number(bots)});

    // Sample every Tarvex's CPU as the race goes; note when the host pressed Start (its results
    // file appears with the new race).
    std::map<QString, std::vector<Sample>> cpu;
    std::map<QString, qint64> pids;
    double start_pressed = 0;
    while (race.state() != QProcess::NotRunning) {
        race.waitForFinished(50);
        QFile list(dir + QStringLiteral("/pids"));
        if (list.open(QIODevice::ReadOnly)) {
            for (const QByteArray& line : list.readAll().split('\n')) {
                const QList<QByteArray> parts = line.split(' ');
                if (parts.size() == 2) {
                    pids[QString::fromLatin1(parts[0])] = parts[1].toLongLong();
                }
            }
        }
        const double now = MonotonicMs();
        for (const auto& [name, pid] : pids) {
            const double used = CpuMs(pid);
            if (used >= 0) {
                cpu[name].push_back({now, used});
            }
        }
        if (start_pressed == 0 && QFile::exists(dir + QStringLiteral("/Host/results.txt"))) {
            start_pressed = now;
        }
    }
    if (race.exitCode() != 0) {
        std::printf("%2d games: the race did not end\n", bots + 1);
        return;
    }

    std::vector<double> zeros, at_line, finishes, first_lines;
    for (const auto& [name, pid] : pids) {
        const GameStart start = ReadStatus(dir + u'/' + name + QStringLiteral("/status.jsonl"));
        zeros.push_back(start.clock_zero);
        at_line.push_back(start.at_line);
        finishes.push_back(start.finished);
        first_lines.push_back(start.first_line);
    }
    const auto [first_zero, last_zero] = std::minmax_element(zeros.begin(), zeros.end());
    const double last_at_line = *std::max_element(at_line.begin(), at_line.end());
    const double first_game = *std::min_element(first_lines.begin(), first_lines.end());
    const double last_finish = *std::max_element(finishes.begin(), finishes.end());

    // While racing: from the first clock start to the last finish. The floor: the same copies
    // from "Start" until the first game came up, when a Tarvex has nothing to do.
    std::vector<double> racing, idle;
    for (const auto& [name, samples] : cpu) {
        racing.push_back(CpuBetween(samples, *first_zero, last_finish) /
                         (last_finish - *first_zero) * 100.0);
        idle.push_back(CpuBetween(samples, start_pressed, first_game) /
                       (first_game - start_pressed) * 100.0);
    }
    auto mean = [](const std::vector<double>& values) {
        double sum = 0;
        for (double value : values) {
            sum += value;
        }
        return sum / double(values.size());
    };
    std::printf("%2d games (real processes): start skew %.0f ms; Start to the last car at the "
                "line %.1f s, to the clocks starting %.1f s\n",
                bots + 1, *last_zero - *first_zero, (last_at_line - start_pressed) / 1000.0,
                (*first_zero - start_pressed) / 1000.0);
    std::printf("%2d games: Tarvex CPU per copy while racing %.1f %% (max %.1f %%), floor "
                "(waiting, no game yet) %.1f %%\n",
                bots + 1, mean(racing), *std::max_element(racing.begin(), racing.end()),
                mean(idle));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString root = QStringLiteral(TARVEX_SOURCE_DIR);
    const QString build = QStringLiteral(TARVEX_BINARY_DIR);
    // The numbers of games to race, 4 and 12 unless given ("bench_race_processes 4").
    QList<int> games;
    for (const QString& argument : app.arguments().mid(1)) {
        games.append(argument.toInt());
    }
    if (games.isEmpty()) {
        games = {4, 12};
    }
    for (int count : games) {
        if (count < 2 || count > 12) {
            std::fprintf(stderr, "between 2 and 12 games, not %d\n", count);
            return 2;
        }
        Run(root, build, count - 1);
    }
    return 0;
}
