#pragma once

#include "Game.h"
#include "GameMemory.h"
#include "platform/fake/FakePlatform.h"

#include <memory>

namespace tarvex::test {

// One player's game, in process: its window in front on the player's fake desktop, the keys
// Tarvex sends reaching it, its memory behind the player's fake process memory.
class LocalGame {
public:
    LocalGame(FakePlatform& platform, std::uint32_t pid, sim::Options options)
        : memory(sim::NewMemorySpace())
        , game(*memory, std::move(options))
        , pid(pid) {
        platform.memory->Attach(pid, SpaceAsProcess(*memory));
        window = platform.desktop->AddWindow(QStringLiteral("D3D Window"), pid);
        platform.desktop->SetForeground(window);
        platform.desktop->on_key = [this](int key, bool down) {
            down ? game.KeyDown(key) : game.KeyUp(key);
        };
    }
    LocalGame(const LocalGame&) = delete;
    LocalGame& operator=(const LocalGame&) = delete;

    std::unique_ptr<sim::MemoryAddressSpace> memory;
    sim::Game game;
    std::uint32_t pid;
    WindowHandle window = 0;
};

} // namespace tarvex::test
