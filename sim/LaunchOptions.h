#pragma once

#include "Game.h"

#include <string>
#include <vector>

namespace sim {

// How the DuneholtRally executable was asked to run: the game options plus what only the
// executable does (window, frames, files).
struct LaunchOptions {
    Options game;
    int fps = 30;
    double intro_seconds = 0;
    std::string status_file;
    std::string screenshot_file;
    int screenshot_frames = 30;
    // When above 0, the picture waits instead for the first frame past this many seconds of
    // the stage clock that shows a ghost car in front with its name (or the finish): a race's
    // picture on a machine of any speed.
    double screenshot_race_time = 0;
    int frames = 0; // quit after this many frames; 0 = run until closed
    std::vector<std::string> errors;
};

// Options come from the game folder's DuneholtRally.cfg (one option a line, the command line's
// names with or without their leading dashes, "name value" or "name=value", '#' comments) and
// then from the command line, which wins.
std::vector<std::string> ReadConfigFile(const std::string& path);
LaunchOptions ParseLaunchOptions(const std::vector<std::string>& config,
                                 const std::vector<std::string>& command_line);

} // namespace sim
