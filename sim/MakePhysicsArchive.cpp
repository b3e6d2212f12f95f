// Writes the stand-in game's stock physics archive: dhr_physics_archive OUTPUT
#include "PhysicsArchive.h"

#include <cstdio>
#include <fstream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT\n", argv[0]);
        return 2;
    }
    std::ofstream out(argv[1], std::ios::binary | std::ios::trunc);
    const std::string archive = sim::BuildPhysicsArchive();
    out.write(archive.data(), std::streamsize(archive.size()));
    return out.good() ? 0 : 1;
}
