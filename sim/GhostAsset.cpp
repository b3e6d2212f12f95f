#include "GhostAsset.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace sim {

namespace {

namespace fs = std::filesystem;

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

// At home the game runs on a file system that ignores case; here it matches names by hand.
fs::path FindNoCase(const fs::path& folder, const std::string& name) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (Lower(entry.path().filename().string()) == Lower(name)) {
            return entry.path();
        }
    }
    return {};
}

bool ReadWhole(const fs::path& path, std::string& bytes) {
    std::error_code error;
    if (path.empty() || !fs::is_regular_file(path, error)) {
        return false;
    }
    std::ifstream file(path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return bool(file) || file.eof();
}

// The lines of an ASCII text with CR LF line ends; an empty string with `why` set otherwise.
std::vector<std::string> TextLines(const std::string& bytes, std::string& why) {
    std::vector<std::string> lines;
    std::string line;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(bytes[i]);
        if (c >= 0x80) {
            why = "not ASCII";
            return {};
        }
        if (c == '\r' || c == '\n') {
            if (c == '\n' || i + 1 >= bytes.size() || bytes[i + 1] != '\n') {
                why = "line ends are not CR LF";
                return {};
            }
            lines.push_back(line);
            line.clear();
            ++i;
        } else {
            line += char(c);
        }
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
    return lines;
}

// The common head of the three text files: "[DHRAsset]", then the kind, then (for the two
// files other than the entry) "Version=1" on the third line.
std::string CheckHead(const std::vector<std::string>& lines, const std::string& kind) {
    if (lines.empty() || lines[0] != "[DHRAsset]") {
        return "first line is not [DHRAsset]";
    }
    if (lines.size() < 2 || lines[1] != "Kind=" + kind) {
        return "second line is not Kind=" + kind;
    }
    if (lines.size() < 3 || lines[2] != "Version=1") {
        return "third line is not Version=1";
    }
    return {};
}

std::uint32_t U32At(const std::string& bytes, std::size_t at) {
    return std::uint32_t(std::uint8_t(bytes[at])) |
           std::uint32_t(std::uint8_t(bytes[at + 1])) << 8 |
           std::uint32_t(std::uint8_t(bytes[at + 2])) << 16 |
           std::uint32_t(std::uint8_t(bytes[at + 3])) << 24;
}

std::string CheckMesh(const std::string& bytes, GhostCar& car) {
    static const char magic[8] = {'D', 'H', 'R', 'S', 'G', 'C', 0x00, 0x01};
    if (bytes.size() < 16 || std::memcmp(bytes.data(), magic, 8) != 0) {
        return "no DHRSGC header";
    }
    const std::uint32_t vertices = U32At(bytes, 8);
    const std::uint32_t triangles = U32At(bytes, 12);
    if (vertices < 1 || vertices > 65535) {
        return "vertex count " + std::to_string(vertices) + " is outside 1..65535";
    }
    if (triangles < 1 || triangles > 1000000) {
        return "triangle count " + std::to_string(triangles) + " is outside 1..1000000";
    }
    const std::uint64_t expected = 16 + 12ull * vertices + 6ull * triangles;
    if (bytes.size() != expected) {
        return "size " + std::to_string(bytes.size()) + ", expected " + std::to_string(expected);
    }
    car.vertex_count = vertices;
    car.triangle_count = triangles;
    car.vertices.resize(vertices);
    for (std::uint32_t v = 0; v < vertices; ++v) {
        float xyz[3];
        std::memcpy(xyz, bytes.data() + 16 + 12 * std::size_t(v), 12);
        car.vertices[v] = {xyz[0], xyz[1], xyz[2]};
    }
    const std::size_t indices = 16 + 12 * std::size_t(vertices);
    const std::size_t step = (triangles + GhostDrawTriangles - 1) / GhostDrawTriangles;
    for (std::uint32_t t = 0; t < triangles; ++t) {
        std::array<std::uint16_t, 3> triangle;
        for (std::size_t i = 0; i < 3; ++i) {
            const std::size_t at = indices + 6 * std::size_t(t) + 2 * i;
            triangle[i] = std::uint16_t(std::uint8_t(bytes[at]) | std::uint8_t(bytes[at + 1]) << 8);
            if (triangle[i] >= vertices) {
                return "triangle " + std::to_string(t) + " refers to vertex " +
                       std::to_string(triangle[i]);
            }
        }
        if (t % step == 0) {
            car.triangles.push_back(triangle);
        }
    }
    return {};
}

} // namespace

GhostCar LoadGhostCar(const std::string& game_folder, const std::string& path_text) {
    GhostCar car;
    // Follow the path one component at a time from the game folder.
    fs::path entry_path = game_folder.empty() ? fs::path(".") : fs::path(game_folder);
    std::string part;
    for (std::size_t i = 0; i <= path_text.size(); ++i) {
        if (i == path_text.size() || path_text[i] == '\\' || path_text[i] == '/') {
            if (!part.empty() && !entry_path.empty()) {
                entry_path = FindNoCase(entry_path, part);
            }
            part.clear();
        } else {
            part += path_text[i];
        }
    }
    std::string bytes;
    if (path_text.empty() || !ReadWhole(entry_path, bytes)) {
        car.files.push_back({"entry", "missing " + path_text});
        return car;
    }
    const std::string entry_name = entry_path.filename().string();
    std::string why;
    const std::vector<std::string> lines = TextLines(bytes, why);
    std::map<std::string, std::string> keys;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const auto equals = lines[i].find('=');
        if (equals != std::string::npos && lines[i][0] != '[') {
            keys[lines[i].substr(0, equals)] = lines[i].substr(equals + 1);
        }
    }
    if (why.empty() && (lines.empty() || lines[0] != "[DHRAsset]")) {
        why = "first line is not [DHRAsset]";
    } else if (why.empty() && keys["Kind"] != "GhostCar") {
        why = "Kind is not GhostCar";
    } else if (why.empty() && keys["Version"] != "1") {
        why = "Version is not 1";
    }
    for (const char* key : {"Model", "Description", "Shaders"}) {
        if (why.empty() && keys[key].empty()) {
            why = std::string("no ") + key;
        }
    }
    if (!why.empty()) {
        car.files.push_back({"entry", "wrong " + entry_name + ": " + why});
        return car;
    }
    car.files.push_back({"entry", "ok"});

    // The other three files sit beside the entry file.
    const fs::path folder = entry_path.parent_path();
    struct Named {
        const char *role, *key, *kind;
    };
    static const Named named[] = {{"model", "Model", nullptr},
                                  {"description", "Description", "GhostDescription"},
                                  {"shaders", "Shaders", "GhostShaders"}};
    car.ok = true;
    for (const Named& file : named) {
        const std::string& name = keys[file.key];
        std::string content;
        if (!ReadWhole(FindNoCase(folder, name), content)) {
            car.files.push_back({file.role, "missing " + name});
            car.ok = false;
            continue;
        }
        why.clear();
        if (file.kind == nullptr) {
            why = CheckMesh(content, car);
        } else {
            const std::vector<std::string> text = TextLines(content, why);
            if (why.empty()) {
                why = CheckHead(text, file.kind);
            }
        }
        car.files.push_back({file.role, why.empty() ? "ok" : "wrong " + name + ": " + why});
        car.ok = car.ok && why.empty();
    }
    if (!car.ok) {
        car.vertices.clear();
        car.triangles.clear();
    }
    return car;
}

} // namespace sim
