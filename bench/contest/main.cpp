// contest sets conversion, quantisation, filters and compression beside other libraries, all on one thread and in
// turns.
#include <algorithm>
#include <cstdio>
#include <utility>

#include "Outcome.h"
#include "harness/Program.h"

namespace {

using namespace contest;

std::vector<Operation> Wanted(const bench::Options& options, int side) {
    std::vector<Operation> wanted;
    for (const auto& operations : {Conversions, Quantizations, Filters, Compressions, Files, Drawings})
        for (const Operation& operation : operations(side))
            if (options.Wants(operation.Title())) wanted.push_back(operation);
    return wanted;
}

Rows AllRows() {
    Rows rows;
    const char* separator = "Beside: ";
    for (const Rival& rival : Rivals()) {
        std::printf("%s%s", std::exchange(separator, ", "), rival.library);
        const Rows some = rival.rows();
        rows.insert(rows.end(), some.begin(), some.end());
    }
    std::printf(".\n");
    return rows;
}

void PrintHead(const std::string& picture, int side, int rounds) {
    std::printf(
        "Picture: %s, %d x %d. Medians of %d rounds (a fifth of them where jobs take long).\n"
        "MP/s of the larger of source and result; how many times as long as ours each takes, * for the fastest that\n"
        "does the same.\n"
        "exact: 1 if by our rules; max, mean: levels from our rules, the rounded result or (filters) from ours; "
        "drift:\n"
        "what a pyramid of halvings does to the mean; dB: from the picture; ratio: bytes of pixels / bytes stored.\n",
        picture.c_str(), side, side, rounds);
}

int HoldAll(const bench::Options& options, const std::string& pictureName) {
    const int side = options.isQuick ? 2 * bench::kTileSide : bench::kPictureSide;
    const int rounds = options.RoundsOr(15);
    const Square picture = CutSquare(bench::LoadPicture(pictureName), side);
    bench::Records records(options.jsonFile);
    PrintHead(bench::PictureOrigin(pictureName), side, rounds);
    const Rows rivals = AllRows();
    std::vector<Outcome> outcomes;
    for (const Operation& operation : Wanted(options, side)) {
        outcomes.push_back(Hold(operation, rivals, picture, rounds));
        PrintTable(outcomes.back());
        Record(records, outcomes.back());
    }
    PrintSummary(outcomes);
    const auto isRight = [](const Outcome& outcome) { return outcome.IsRight(); };
    return std::all_of(outcomes.begin(), outcomes.end(), isRight) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Sets conversion, quantisation, filters and compression beside other libraries, on one thread and in turns.\n"
        "The filter is searched for in names such as \"convert premultiply 4096\", \"palette quantise 256 4096\",\n"
        "\"filter half 512\", \"codec store 4096\" and \"file levels 16384\". The environment variable ZBM_PICTURES "
        "names the folder of the\n"
        "pictures, 4096 x 4096 pixels of bytes B, G, R, A, top row first. The exit status tells whether ours are "
        "right.");
    bench::Options options;
    std::string picture = "photo";
    options.AddTo(app);
    app.add_option("--picture", picture, "photo or shot")->check(CLI::IsMember({"photo", "shot"}));
    return bench::RunProgram(app, argc, argv, [&] { return HoldAll(options, picture); });
}
