#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "io/byte_cursor.h"

namespace orb {

/// A folder of the running test and process, empty at first and removed with its content.
class TestFolder {
public:
    TestFolder() {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = fmt::format("orb_{}_{}", test->test_suite_name(), test->name());
        std::ranges::replace(name, '/', '_');
        do {
            path_ = std::filesystem::temp_directory_path() /
                    fmt::format("{}_{:08x}", name, std::random_device()());
        } while (!std::filesystem::create_directory(path_));
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() { std::filesystem::remove_all(path_); }

    const std::filesystem::path& path() const { return path_; }

    /// Writes a file with the folders that it needs; returns its path.
    std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const {
        std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }
    std::filesystem::path write(const std::filesystem::path& name, const io::Bytes& bytes) const {
        return write(name, io::asText(bytes));
    }

private:
    std::filesystem::path path_;
};

}  // namespace orb
