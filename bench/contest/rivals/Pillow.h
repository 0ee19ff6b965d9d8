#pragma once
// Pillow takes part through pillow_contest.py, which runs beside this program and does one job at a time on request, so
// that its turns are turns of the same rounds.
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

#include "Pictures.h"
#include "Turns.h"
#include "shr/Color4b.h"

namespace contest {

class Pillow {
public:
    /// Starts the process. Where that fails, Pillow takes no part, and Greeting says why.
    Pillow();
    ~Pillow();
    Pillow(const Pillow&) = delete;
    Pillow& operator=(const Pillow&) = delete;

    bool TakesPart() const noexcept { return takesPart; }
    /// "Pillow" and its version.
    const std::string& Greeting() const noexcept { return greeting; }

    /// Gives it the pixels, and the colour table of 256 entries if there is one, for the jobs to come.
    void SetSource(const Pixels& pixels, std::size_t side, const shr::Color4b* table);
    /// A contestant for a job that the script knows by name. It lives no longer than this object and the source.
    Contestant Enter(const std::string& name, const std::string& job);
    /// The pixels that the job last made, in the form in which our own code gives them.
    Pixels Result(const std::string& job);

private:
    std::string Ask(const std::string& request);
    std::string ReadLine();
    void Write(const void* bytes, std::size_t count);

    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, CloseFile> requests, answers;
    int process = -1;
    bool takesPart = false;
    std::string greeting;
};

}  // namespace contest
