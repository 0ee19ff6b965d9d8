#pragma once
// The contest: operations of ours, and libraries that do the same. Both are data. An operation (operations/) is a row
// of what is computed, on which pixels, by which of our own, and how results are judged; a rival (rivals/, a file for
// each library, built where the library is found) is rows of how it takes part in which operations.
#include <functional>
#include <string>
#include <vector>

#include "harness/Pictures.h"
#include "harness/Turns.h"

namespace contest {

using bench::Job;
using bench::Pixels;
using bench::Square;

/// What an operation starts from, and where its result goes.
struct Scene {
    const Square& source;
    Square& result;
    std::size_t& storedBytes;  ///< that a compression made of the source
};

/// One who is ready to run on a scene.
struct Entry {
    std::function<double(int times)> run;
    Job bring = [] {};  ///< the result to the scene, if it is elsewhere
};
inline Entry Doing(Job job) { return {bench::Timed(std::move(job))}; }
using Enter = std::function<Entry(const Scene&)>;

enum class Role {
    ours,  ///< with whom all are compared
    rival,
    beside,  ///< shown for comparison, with no result to be judged
};

/// One who takes part in an operation.
struct Entrant {
    std::string name;
    Enter enter;
    std::string otherwise{};  ///< what it does in another way, so that it is only shown; empty for a true rival
    int largest = bench::kPictureSide;  ///< side of the source that it is given time for
    Role role = Role::rival;

    bool IsRival() const { return role == Role::rival && otherwise.empty(); }
};

/// How a figure is set beside those of ours.
enum class Beside { nothing, difference, quotient };

/// What a result is worth apart from its time.
struct Figure {
    const char* name;
    double value;
    Beside beside = Beside::nothing;
};

struct Verdict {
    std::vector<Figure> figures{};
    bool isRight = true;  ///< false for a result that must not be
};
/// Looks at the result of an entrant. Ours come first.
using Judge = std::function<Verdict(const Entrant& who, const Scene& scene)>;

struct Operation {
    const char* kind;
    std::string name;
    int from, to;  ///< sides of source and result
    std::vector<Entrant> ours;
    std::function<Judge(const Scene&)> judge;
    Square (*makeSource)(const Square& bgra) = nullptr;  ///< null for the square of the picture itself
    shr::ColorFormat format = shr::BGRA_32;              ///< of the result

    /// The name that filters search: "convert premultiply 4096".
    std::string Title() const { return std::string(kind) + " " + name + " " + std::to_string(from); }
};

/// All operations, on a picture of so many pixels' side.
std::vector<Operation> Conversions(int side);
std::vector<Operation> Quantizations(int side);
std::vector<Operation> Filters(int side);
std::vector<Operation> Compressions(int side);
std::vector<Operation> Files(int side);
std::vector<Operation> Drawings(int side);

/// A rival's part in the operation of that name, at every size.
struct Row {
    std::string operation;
    Entrant entrant;
};
using Rows = std::vector<Row>;

struct Rival {
    const char* library;
    Rows (*rows)();  ///< starts the library, which lives to the end of the program
};
/// Adds a library to the contest, before main().
bool Add(const Rival& rival);
const std::vector<Rival>& Rivals();

}  // namespace contest
