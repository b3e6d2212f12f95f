#include "LaunchOptions.h"

#include <fstream>

namespace sim {

namespace {

std::string Trim(const std::string& text) {
    const auto begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) {
        return {};
    }
    const auto end = text.find_last_not_of(" \t\r\n");
    return text.substr(begin, end - begin + 1);
}

void Apply(LaunchOptions& o, const std::vector<std::string>& args) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string name = args[i];
        std::string value;
        while (!name.empty() && name[0] == '-') {
            name.erase(0, 1);
        }
        const auto equals = name.find('=');
        bool inline_value = false;
        if (equals != std::string::npos) {
            value = name.substr(equals + 1);
            name = name.substr(0, equals);
            inline_value = true;
        }
        auto take = [&]() -> std::string {
            if (inline_value) {
                return value;
            }
            if (i + 1 < args.size()) {
                return args[++i];
            }
            o.errors.push_back("missing value for --" + name);
            return {};
        };
        auto number = [&](double fallback) {
            const std::string text = take();
            try {
                return std::stod(text);
            } catch (...) {
                o.errors.push_back("not a number for --" + name + ": " + text);
                return fallback;
            }
        };
        if (name == "build") {
            o.game.build = int(number(3));
            if (o.game.build < 1 || o.game.build > 4) {
                o.errors.push_back("--build must be 1..4");
                o.game.build = 3;
            }
        } else if (name == "autopilot") {
            o.game.autopilot = true;
        } else if (name == "pace") {
            o.game.pace = number(1.0);
        } else if (name == "seed") {
            o.game.seed = std::uint32_t(number(1));
        } else if (name == "false-start") {
            o.game.false_start = true;
        } else if (name == "vote") {
            o.game.after_finish = AfterFinish::VoteRestart;
        } else if (name == "vote-stage") {
            o.game.after_finish = AfterFinish::VoteRestart;
            o.game.vote_stage = int(number(0));
        } else if (name == "exit") {
            o.game.after_finish = AfterFinish::ExitToTarvex;
        } else if (name == "fps") {
            o.fps = std::max(1, int(number(30)));
        } else if (name == "intro") {
            o.intro_seconds = number(0);
        } else if (name == "status") {
            o.status_file = take();
        } else if (name == "screenshot") {
            o.screenshot_file = take();
        } else if (name == "screenshot-frames") {
            o.screenshot_frames = std::max(1, int(number(30)));
        } else if (name == "screenshot-race-time") {
            o.screenshot_race_time = std::max(0.0, number(0));
        } else if (name == "frames") {
            o.frames = std::max(0, int(number(0)));
        } else if (!name.empty()) {
            o.errors.push_back("unknown option --" + name);
        }
    }
}

} // namespace

std::vector<std::string> ReadConfigFile(const std::string& path) {
    std::vector<std::string> args;
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        line = Trim(line);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const auto space = line.find_first_of(" \t");
        if (space == std::string::npos) {
            args.push_back(line);
        } else {
            args.push_back(line.substr(0, space));
            args.push_back(Trim(line.substr(space)));
        }
    }
    return args;
}

LaunchOptions ParseLaunchOptions(const std::vector<std::string>& config,
                                 const std::vector<std::string>& command_line) {
    LaunchOptions o;
    Apply(o, config);
    Apply(o, command_line);
    return o;
}

} // namespace sim
