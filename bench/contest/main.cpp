#include "Contest.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

constexpr char kUsage[] =
    "contest [--filter REGEX] [--rounds N] [--json FILE] [--picture photo|shot]\n"
    "Sets conversion, quantisation and filters beside other libraries, all on one thread and in turns. The filter is\n"
    "searched for in names such as \"premultiply 4096\", \"quantise 256\" and \"filter half 4096\". The environment\n"
    "variable ZBM_PICTURES names the folder of the pictures, 4096 x 4096 pixels of bytes B, G, R, A, top row first.\n";

struct Options {
    std::string filter = ".", jsonFile, picture = "photo";
    int rounds = 15;
};

bool Parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; i += 2) {
        const std::string key = argv[i];
        if (i + 1 >= argc) return false;
        if (key == "--filter")
            options.filter = argv[i + 1];
        else if (key == "--rounds")
            options.rounds = std::max(1, std::atoi(argv[i + 1]));
        else if (key == "--json")
            options.jsonFile = argv[i + 1];
        else if (key == "--picture")
            options.picture = argv[i + 1];
        else
            return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) try {
    Options options;
    if (!Parse(argc, argv, options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    cv::setNumThreads(1);
    contest::Setting setting{std::regex(options.filter),
                             options.rounds,
                             contest::LoadPicture(options.picture),
                             {},
                             contest::Records(options.jsonFile)};
    std::printf("Picture: %s. %s. Medians of %d rounds (a fifth of them where jobs take long).\n",
                setting.picture.description.c_str(), setting.pillow.Greeting().c_str(), options.rounds);
    const bool converts = contest::HoldConvertContest(setting);
    const bool quantizes = contest::HoldQuantizeContest(setting);
    const bool filters = contest::HoldFilterContest(setting);
    return converts && quantizes && filters ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "contest: %s\n", error.what());
    return 1;
}
