#pragma once

#include <cstdio>
#include <streambuf>

namespace orb::unitview::ipc {

/// A stream buffer without a buffer of its own over a C stream, which it closes in the end.
class FdSinkBuf : public std::streambuf {
public:
    /// Takes ownership of `file`, which may be null: then every write fails.
    explicit FdSinkBuf(std::FILE* file) : file_(file) {}
    FdSinkBuf(const FdSinkBuf&) = delete;
    FdSinkBuf& operator=(const FdSinkBuf&) = delete;
    ~FdSinkBuf() override {
        if (file_) std::fclose(file_);
    }

    bool isOpen() const { return file_ != nullptr; }

protected:
    int_type overflow(int_type ch) override {
        if (!file_) return traits_type::eof();
        if (traits_type::eq_int_type(ch, traits_type::eof())) return 0;
        return std::fputc(traits_type::to_char_type(ch), file_) == EOF ? traits_type::eof() : ch;
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        if (!file_) return 0;
        return static_cast<std::streamsize>(
            std::fwrite(bytes, 1, static_cast<std::size_t>(count), file_));
    }

    int sync() override { return file_ && std::fflush(file_) == 0 ? 0 : -1; }

private:
    std::FILE* file_;
};

}  // namespace orb::unitview::ipc
