// Pillow takes part through pillow_contest.py, which runs beside this program and does one job at a time on request, so
// that its turns are turns of the same rounds.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "Contest.h"
#include "operations/FilterParameters.h"

namespace contest {

namespace {

struct Pipe {
    Pipe() {
        if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    }
    int ends[2];
};

[[noreturn]] void BecomeScript(const Pipe& toScript, const Pipe& fromScript) {
    dup2(toScript.ends[0], STDIN_FILENO);
    dup2(fromScript.ends[1], STDOUT_FILENO);
    for (const int end : {toScript.ends[0], toScript.ends[1], fromScript.ends[0], fromScript.ends[1]}) close(end);
    // The system's own interpreter, to which the packages of Pillow and NumPy belong.
    execl("/usr/bin/python3", "python3", ZBM_PILLOW_CONTEST, static_cast<char*>(nullptr));
    _exit(127);
}

/// The process of the script, and its language: a line, perhaps with bytes behind it, answered by a line.
class Script {
public:
    Script();
    ~Script() {
        requests.reset();  // the end of its input ends it
        waitpid(process, nullptr, 0);
    }
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;

    void WriteBytes(const void* bytes, std::size_t count) {
        if (count != 0 && std::fwrite(bytes, 1, count, requests.get()) != count)
            throw std::runtime_error("Pillow's process takes no requests");
    }
    /// A line of words.
    template <class... Words>
    void Write(const char* verb, const Words&... words) {
        std::ostringstream line;
        line << verb;
        ((line << ' ' << words), ...);
        line << '\n';
        WriteBytes(line.str().data(), line.str().size());
    }
    template <class... Words>
    std::string Ask(const Words&... words) {
        Write(words...);
        return ReadLine();
    }
    std::string ReadLine();
    void Read(Pixels& pixels) {
        if (std::fread(pixels.data(), 1, pixels.size(), answers.get()) != pixels.size())
            throw std::runtime_error("Pillow's result ends early");
    }

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, CloseFile> requests, answers;
    int process = -1;
};

Script::Script() {
    std::signal(SIGPIPE, SIG_IGN);  // a process that has ended is noticed by what it does not answer
    std::fflush(stdout);            // or the script would print it once more
    const Pipe toScript, fromScript;
    process = fork();
    if (process < 0) throw std::runtime_error("no process for Pillow");
    if (process == 0) BecomeScript(toScript, fromScript);
    close(toScript.ends[0]);
    close(fromScript.ends[1]);
    requests.reset(fdopen(toScript.ends[1], "wb"));
    answers.reset(fdopen(fromScript.ends[0], "rb"));
}

std::string Script::ReadLine() {
    std::fflush(requests.get());
    std::string line;
    int byte = 0;
    while ((byte = std::fgetc(answers.get())) != EOF && byte != '\n') line += static_cast<char>(byte);
    if (byte == EOF) throw std::runtime_error("Pillow's process has ended");
    if (line.starts_with("failed")) throw std::runtime_error("Pillow: " + line);
    return line;
}

Script& TheScript() {
    static Script script;
    return script;
}

/// A job that the script knows by name, prepared for a scene under a number; it is forgotten with this object.
class Task {
public:
    Task(const std::string& job, const Scene& scene) : result(scene.result) {
        const Square& source = scene.source;
        const std::size_t tableBytes = source.table.size() * sizeof(shr::Color4b);
        TheScript().Write("prepare", number, job, source.side, result.side, source.pixels.size(), tableBytes);
        TheScript().WriteBytes(source.pixels.data(), source.pixels.size());
        TheScript().WriteBytes(source.table.data(), tableBytes);
        TheScript().ReadLine();
    }
    ~Task() {
        try {
            TheScript().Ask("forget", number);
        } catch (const std::runtime_error&) {  // the script has ended, and with it what it knew
        }
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    double Run(int times) const { return std::stod(TheScript().Ask("run", number, times)); }
    void BringResult() const {
        if (std::stoul(TheScript().Ask("result", number)) != result.pixels.size())
            throw std::runtime_error("Pillow's result has another size");
        TheScript().Read(result.pixels);
    }

private:
    inline static int count = 0;
    const int number = ++count;
    Square& result;
};

Enter Doing(const std::string& job) {
    return [=](const Scene& scene) -> Entry {
        const auto task = std::make_shared<Task>(job, scene);
        return {[task](int times) { return task->Run(times); }, [task] { task->BringResult(); }};
    };
}

/// The numbers of a job.
template <class Numbers>
std::string Listed(const Numbers& numbers) {
    std::string list;
    for (const double number : numbers) {
        char text[32];
        std::snprintf(text, sizeof text, "%s%.17g", list.empty() ? "" : ",", number);
        list += text;
    }
    return list;
}

struct Named {
    const char *operation, *job, *name = "Pillow";
};

constexpr Named kJobs[] = {
    {"BGRA to RGBA", "bgra_rgba"},
    {"BGR24 to BGRA", "bgr_bgra"},
    {"BGRA to BGR24", "bgra_bgr"},
    {"premultiply", "premultiply"},
    {"unpremultiply", "unpremultiply"},
    {"BGRA to grey 8", "bgra_grey8"},
    {"grey 8 to BGRA", "grey8_bgra"},
    {"grey 16 to grey 8", "grey16_grey8"},
    {"grey 1 to grey 8", "grey1_grey8"},
    {"palette 8 to BGRA", "palette8_bgra"},
    {"BGRA to grey 1", "bgra_grey1"},
    {"quantise 256", "quantize:256:MEDIANCUT", "Pillow MEDIANCUT"},
    {"quantise 256", "quantize:256:FASTOCTREE", "Pillow FASTOCTREE"},
    {"quantise 16", "quantize:16:MEDIANCUT", "Pillow MEDIANCUT"},
    {"quantise 16", "quantize:16:FASTOCTREE", "Pillow FASTOCTREE"},
    {"quantise and dither 256", "diffuse:256:MEDIANCUT", "Pillow MEDIANCUT, diffuse"},
    {"quantise and dither 256", "diffuse:256:FASTOCTREE", "Pillow FASTOCTREE, diffuse"},
    {"dither to a palette", "palette_diffuse", "Pillow diffuse"},
    {"dither to fixed colours", "web_diffuse", "Pillow diffuse, web palette"},
    {"map to a table", "palette", "Pillow quantize"},
    {"desaturate", "color:0", "Pillow Color"},
    {"half", "reduce:2", "Pillow reduce"},
    {"half", "resize:BOX", "Pillow BOX"},
    {"bilinear down", "resize:BILINEAR", "Pillow BILINEAR"},
    {"bicubic down", "resize:BICUBIC", "Pillow BICUBIC"},
    {"bicubic up", "resize:BICUBIC", "Pillow BICUBIC"},
    {"nearest down", "resize:NEAREST", "Pillow NEAREST"},
    {"nearest up", "resize:NEAREST", "Pillow NEAREST"},
};

Rows AllRows() {
    Rows rows;
    for (const Named& job : kJobs) rows.push_back({job.operation, {job.name, Doing(job.job)}});
    for (const Line& line : {Brightness(), Contrast()})
        rows.push_back({line.operation, {"Pillow point", Doing("point:" + Listed(line.Levels()))}});
    rows.push_back({"saturation", {"Pillow Color", Doing("color:" + Listed(std::vector{kSaturation}))}});
    for (const Kernel& kernel : Kernels())
        rows.push_back({kernel.operation, {"Pillow Kernel", Doing("convolve:" + Listed(kernel.factors))}});
    for (const int span : kMedianSpans)
        rows.push_back(
            {MedianOf(span), {"Pillow MedianFilter", Doing("median:" + std::to_string(span)), "", bench::kTileSide}});
    return rows;
}

/// None where the script does not start or finds no Pillow.
Rows RowsOfPillow() try {
    std::printf(" (%s)", TheScript().ReadLine().c_str());
    return AllRows();
} catch (const std::runtime_error& error) {
    std::printf(" (takes no part: %s)", error.what());
    return {};
}

[[maybe_unused]] const bool kAdded = Add({"Pillow", RowsOfPillow});

}  // namespace

}  // namespace contest
