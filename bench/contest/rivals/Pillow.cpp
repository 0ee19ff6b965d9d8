#include "rivals/Pillow.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

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

}  // namespace

Pillow::Pillow() {
    std::signal(SIGPIPE, SIG_IGN);  // a process that has ended is noticed by what it does not answer
    const Pipe toScript, fromScript;
    process = fork();
    if (process < 0) throw std::runtime_error("no process for Pillow");
    if (process == 0) BecomeScript(toScript, fromScript);
    close(toScript.ends[0]);
    close(fromScript.ends[1]);
    requests.reset(fdopen(toScript.ends[1], "wb"));
    answers.reset(fdopen(fromScript.ends[0], "rb"));
    try {
        greeting = ReadLine();
        takesPart = greeting.starts_with("Pillow ");
    } catch (const std::runtime_error& error) { greeting = error.what(); }
}

Pillow::~Pillow() {
    requests.reset();  // the end of its input ends it
    waitpid(process, nullptr, 0);
}

void Pillow::SetSource(const Pixels& pixels, std::size_t side, const shr::Color4b* table) {
    const std::size_t tableBytes = table == nullptr ? 0 : 256 * sizeof(shr::Color4b);
    const std::string request = "source " + std::to_string(side) + " " + std::to_string(pixels.size()) + " " +
                                std::to_string(tableBytes) + "\n";
    Write(request.data(), request.size());
    Write(pixels.data(), pixels.size());
    Write(table, tableBytes);
}

Contestant Pillow::Enter(const std::string& name, const std::string& job) {
    Ask("prepare " + job);
    return {name, [this, job](int times) { return std::stod(Ask("run " + job + " " + std::to_string(times))); }};
}

Pixels Pillow::Result(const std::string& job) {
    Pixels result(std::stoul(Ask("result " + job)));
    if (std::fread(result.data(), 1, result.size(), answers.get()) != result.size())
        throw std::runtime_error("Pillow's result ends early");
    return result;
}

std::string Pillow::Ask(const std::string& request) {
    const std::string line = request + "\n";
    Write(line.data(), line.size());
    return ReadLine();
}

std::string Pillow::ReadLine() {
    std::fflush(requests.get());
    std::string line;
    int byte = 0;
    while ((byte = std::fgetc(answers.get())) != EOF && byte != '\n') line += static_cast<char>(byte);
    if (byte == EOF) throw std::runtime_error("Pillow's process has ended");
    if (line.starts_with("failed")) throw std::runtime_error("Pillow: " + line);
    return line;
}

void Pillow::Write(const void* bytes, std::size_t count) {
    if (count != 0 && std::fwrite(bytes, 1, count, requests.get()) != count)
        throw std::runtime_error("Pillow's process takes no requests");
}

}  // namespace contest
