#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "io/json_nesting.h"
#include "server/command_table.h"

namespace orb::fuzz {

/// Changes one request among the lines of a text so that it mostly remains one: another type, a
/// member more or less, another value, another order of lines.
class RequestMutator {
public:
    explicit RequestMutator(unsigned int seed) : random_(seed) {}

    std::string mutate(std::string_view text) {
        std::vector<std::string> lines = split(text);
        if (lines.empty() || below(6) == 0)
            lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(below(lines.size() + 1)),
                         newRequest().dump());
        else
            mutateLine(lines);
        std::string result;
        for (const std::string& line : lines) result += line + '\n';
        return result;
    }

private:
    using json = nlohmann::json;

    std::size_t below(std::size_t count) { return random_() % count; }

    template <typename Values>
    const auto& any(const Values& values) {
        return values[below(std::size(values))];
    }

    static std::vector<std::string> split(std::string_view text) {
        std::vector<std::string> lines;
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            lines.emplace_back(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        return lines;
    }

    void mutateLine(std::vector<std::string>& lines) {
        const std::size_t index = below(lines.size());
        std::string& line = lines[index];
        switch (below(8)) {
            case 0:
                lines.push_back(std::string(line));
                return;
            case 1:
                std::swap(line, lines[below(lines.size())]);
                return;
            case 2:
                lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(index));
                return;
            default:
                break;
        }
        if (io::findJsonNestingBeyond(line, 64)) return;
        json request = json::parse(line, nullptr, false);
        if (!request.is_object()) return;
        mutateRequest(request);
        line = request.dump();
    }

    void mutateRequest(json& request) {
        if (below(6) == 0) {
            request["type"] = anyType();
            return;
        }
        json& data = request["data"];
        if (!data.is_object()) data = json::object();
        if (data.empty() || below(3) == 0) {
            data[any(kKeys)] = anyValue(0);
        } else {
            auto member = data.begin();
            std::advance(member, below(data.size()));
            if (below(5) == 0)
                data.erase(member);
            else
                *member = anyValue(0);
        }
    }

    json newRequest() {
        json request = {{"type", anyType()}, {"seq", below(9)}, {"data", json::object()}};
        for (std::size_t i = below(4); i > 0; --i) request["data"][any(kKeys)] = anyValue(0);
        return request;
    }

    std::string anyType() { return std::string(any(unitview::ipc::commandTable()).type); }

    json anyValue(int depth) {
        switch (below(depth < 2 ? 8 : 5)) {
            case 0:
                return any(kNumbers);
            case 1:
                return below(2) == 0;
            case 2:
                return static_cast<std::int64_t>(below(100)) - 20;
            case 3:
            case 4:
                return any(kTexts);
            case 5:
            case 6: {
                json array = json::array();
                for (std::size_t i = below(4); i > 0; --i) array.push_back(anyValue(depth + 1));
                return array;
            }
            default: {
                json object = json::object();
                for (std::size_t i = below(4); i > 0; --i) object[any(kKeys)] = anyValue(depth + 1);
                return object;
            }
        }
    }

    static constexpr double kNumbers[] = {0,          -1,         1.5,     65536, 1e9,
                                          4294967295, 4294967296, -9.3e18, 1e300};
    static constexpr const char* kKeys[] = {"name",
                                            "names",
                                            "unit",
                                            "unitName",
                                            "path",
                                            "internalPath",
                                            "destination",
                                            "directory",
                                            "overwrite",
                                            "maxBytes",
                                            "taDataPath",
                                            "modPaths",
                                            "mapsPath",
                                            "text",
                                            "values",
                                            "allowBackupCreation",
                                            "script",
                                            "args",
                                            "ticks",
                                            "count",
                                            "offsets",
                                            "lineSpans",
                                            "line",
                                            "from",
                                            "to",
                                            "mode",
                                            "code",
                                            "target",
                                            "weapon",
                                            "sound",
                                            "texture",
                                            "source",
                                            "options",
                                            "linearScale",
                                            "angularScale",
                                            "implicitReturn",
                                            "valuelessReturn",
                                            "argumentOrder",
                                            "cob_b64",
                                            "enable",
                                            "clear",
                                            "maxEntries",
                                            "teamColor",
                                            "search",
                                            "side",
                                            "suffix",
                                            "scriptname",
                                            "objectname",
                                            "maxdamage",
                                            "FootprintX",
                                            "unitId",
                                            "unitIds",
                                            "order",
                                            "x",
                                            "z",
                                            "player",
                                            "heading",
                                            "force",
                                            "queue",
                                            "targetFeature",
                                            "slot",
                                            "value",
                                            "unrestricted",
                                            "schema",
                                            "seed",
                                            "threads",
                                            "placeUnits",
                                            "events",
                                            "until",
                                            "stocks",
                                            "metal",
                                            "energy",
                                            "pieces",
                                            "since",
                                            "features",
                                            "plane",
                                            "scale",
                                            "width",
                                            "height",
                                            "feature",
                                            "buildFraction",
                                            "health",
                                            "active",
                                            "kind",
                                            "piece",
                                            "faces",
                                            "vertices",
                                            "by",
                                            "recursive",
                                            "units",
                                            "withSuppressed",
                                            "report",
                                            "refresh",
                                            "progress",
                                            "ifVersion",
                                            "checkOnly",
                                            "modPath",
                                            "newName",
                                            "with",
                                            "picture",
                                            "model",
                                            "textureName",
                                            "map",
                                            "direction",
                                            "as",
                                            "entry",
                                            "frame",
                                            "stackLimit",
                                            "set",
                                            "lines"};
    static constexpr const char* kTexts[] = {
        "FENRAFT",
        "fentill",
        "FLTIR",
        "FLTLINTS",
        "FLTCUT",
        "FLTTINT",
        "FLTREFS",
        "FLTTWIN1",
        "FLTSTUB",
        "Create",
        "StartMoving",
        "AimPrimary",
        "$DATA/mod",
        "$DATA/faulty",
        "$DATA/game",
        "$DATA/mod/marshmod.ufo",
        "$TMP/out",
        "good.ufo",
        "chunk.ufo",
        "units",
        "units/FENRAFT.fbi",
        "objects3d",
        "scripts/FENRAFT.cob",
        "",
        "..",
        "a/../b",
        "x\xC3\xA9",
        "\x01\n",
        "piece base;\nCreate() { move base to y-axis [1] now; sleep 100; }",
        "[UNITINFO]\n{\n\tUnitName=FENRAFT;\n\tObjectName=FENRAFT;\n}\n",
        "still",
        "KILCART",
        "FENDOCK",
        "fenmere",
        "FenAlder",
        "attack",
        "build",
        "kill",
        "patrol",
        "idle",
        "killed",
        "sight",
        "triangulate",
        "ground",
        "#ff0000"};

    std::minstd_rand random_;
};

inline std::string mutateRequests(std::string_view text, unsigned int seed) {
    return RequestMutator(seed).mutate(text);
}

}  // namespace orb::fuzz
