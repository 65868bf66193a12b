#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <system_error>

/// Collects what the whole process writes to a descriptor (1 or 2), whoever writes it.
class captured_output {
public:
    explicit captured_output(int descriptor) : descriptor_(descriptor)
    {
        std::fflush(nullptr);
        saved_ = ::dup(descriptor_);
        if (!file_ || saved_ < 0 || ::dup2(::fileno(file_.get()), descriptor_) < 0)
            throw std::system_error(errno, std::generic_category(), "capturing output");
    }
    ~captured_output() { restore(); }
    captured_output(const captured_output&) = delete;
    captured_output& operator=(const captured_output&) = delete;

    /// Ends the collection.
    std::string text()
    {
        restore();
        std::string result;
        std::rewind(file_.get());
        for (int character = std::fgetc(file_.get()); character != EOF;
             character = std::fgetc(file_.get()))
            result += static_cast<char>(character);
        return result;
    }

private:
    void restore()
    {
        if (saved_ < 0)
            return;
        std::fflush(nullptr);
        ::dup2(saved_, descriptor_);
        ::close(saved_);
        saved_ = -1;
    }

    int descriptor_;
    int saved_ = -1;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{std::tmpfile(), &std::fclose};
};
