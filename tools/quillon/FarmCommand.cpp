// `quillon farm slurm [farm options] INPUT OUTPUT [upscale options]` and
// `quillon farm join --chunk N INPUT OUTPUT [upscale options]`. The farm
// options are taken out of the command line; everything else is an ordinary
// `quillon upscale` command line, parsed by the upscale parser and handed on
// to every chunk.
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <new>
#include <string_view>

#include "Commands.h"
#include "Errors.h"
#include "FarmPlan.h"
#include "FarmSlurm.h"

namespace quillon {

namespace {

constexpr const char* kUsage =
    "Usage: quillon farm slurm [FARM OPTIONS] INPUT OUTPUT [UPSCALE OPTIONS]\n"
    "       quillon farm join --chunk N INPUT OUTPUT [UPSCALE OPTIONS]\n"
    "\n"
    "Splits an upscale of an image sequence or a video into chunks of frames, runs\n"
    "them as a Slurm job array (one task a chunk) and joins the result in a job that\n"
    "runs when every task has succeeded. The job scripts go to OUTPUT's folder\n"
    "(NAME.quillon-farm/). Every option of 'quillon upscale' is taken.\n"
    "\n"
    "Farm options:\n"
    "  --chunk N             frames a task (default 100)\n"
    "  --partition NAME      Slurm partition\n"
    "  --time LIMIT          time limit of each job, such as 2:00:00\n"
    "  --cpus-per-task N     CPUs of each task\n"
    "  --sbatch-arg ARG      extra sbatch option such as --mem=8G (repeatable)\n"
    "  --wait                wait for the join; fail naming any failed task\n"
    "  --dry-run             print the scripts and submissions, change nothing\n"
    "  --resume              submit only the chunks whose outputs are missing\n"
    "  --quillon PATH        the quillon the tasks run (default: this one)\n"
    "\n"
    "'quillon farm join' is the join step alone: it checks that every chunk's output\n"
    "exists, assembles a video from its segments and prints the JSON summary.\n";

std::optional<int> ParseCount(std::string_view text) {
    int v = 0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    if (text.empty() || r.ec != std::errc() || r.ptr != text.data() + text.size() || v < 1) {
        return std::nullopt;
    }
    return v;
}

std::string SelfPath() {
    std::error_code ec;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::string("quillon") : self.string();
}

// Takes the farm options out of args; the rest is the upscale command line.
void SplitArguments(const std::vector<std::string>& args, bool join, FarmSettings& settings,
                    SlurmOptions& slurm) {
    const std::map<std::string, std::function<void(const std::string&)>> valued = {
        {"--chunk",
         [&](const std::string& v) {
             const auto n = ParseCount(v);
             if (!n) {
                 throw QuillonError(ExitCode::Usage,
                                    "--chunk expects a positive number, got '" + v + "'");
             }
             settings.chunk = *n;
         }},
        {"--partition", [&](const std::string& v) { slurm.partition = v; }},
        {"--time", [&](const std::string& v) { slurm.time = v; }},
        {"--cpus-per-task",
         [&](const std::string& v) {
             slurm.cpusPerTask = ParseCount(v);
             if (!slurm.cpusPerTask) {
                 throw QuillonError(ExitCode::Usage,
                                    "--cpus-per-task expects a positive number, got '" + v + "'");
             }
         }},
        {"--sbatch-arg", [&](const std::string& v) { slurm.sbatchArgs.push_back(v); }},
        {"--quillon", [&](const std::string& v) { settings.quillon = v; }},
    };
    const std::map<std::string, bool*> flags = {
        {"--wait", &slurm.wait}, {"--dry-run", &slurm.dryRun}, {"--resume", &slurm.resume}};
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        const size_t eq = a.find('=');
        const std::string name = a.rfind("--", 0) == 0 ? a.substr(0, eq) : a;
        if (auto f = flags.find(name); f != flags.end() && !join && eq == std::string::npos) {
            *f->second = true;
        } else if (auto v = valued.find(name);
                   v != valued.end() && (!join || name == "--chunk" || name == "--quillon")) {
            if (eq != std::string::npos) {
                v->second(a.substr(eq + 1));
            } else if (i + 1 < args.size()) {
                v->second(args[++i]);
            } else {
                throw QuillonError(ExitCode::Usage, name + " needs a value");
            }
        } else {
            settings.upscaleArgs.push_back(a);
        }
    }
}

int Farm(int argc, char** argv) {
    const std::vector<std::string> all(argv + 1, argv + argc);  // "farm", ...
    if (all.size() < 2 || all[1] == "--help" || all[1] == "-h") {
        std::fputs(kUsage, all.size() < 2 ? stderr : stdout);
        return static_cast<int>(all.size() < 2 ? ExitCode::Usage : ExitCode::Ok);
    }
    const bool join = all[1] == "join";
    if (!join && all[1] != "slurm") {
        std::fprintf(stderr,
                     "quillon: error: unknown farm manager '%s' (try: quillon farm --help)\n",
                     all[1].c_str());
        return static_cast<int>(ExitCode::Usage);
    }
    const std::vector<std::string> args(all.begin() + 2, all.end());
    for (const std::string& a : args) {
        if (a == "--help" || a == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
    }
    FarmSettings settings;
    SlurmOptions slurm;
    SplitArguments(args, join, settings, slurm);
    if (settings.quillon.empty()) {
        settings.quillon = SelfPath();
    }
    std::vector<const char*> upscaleArgv = {"quillon", "upscale"};
    for (const std::string& a : settings.upscaleArgs) {
        upscaleArgv.push_back(a.c_str());
    }
    ParsedCommandLine parsed;
    if (const auto code =
            ParseCommandLine(static_cast<int>(upscaleArgv.size()), upscaleArgv.data(), parsed)) {
        return *code;
    }
    const FarmPlan plan = PlanFarm(settings, parsed.upscale);
    if (join) {
        RunFarmJoin(plan);
    } else {
        slurm.quiet = parsed.upscale.quiet;
        RunFarmSlurm(plan, slurm);
    }
    return 0;
}

}  // namespace

int RunFarm(int argc, char** argv) {
    try {
        return Farm(argc, argv);
    } catch (const QuillonError& e) {
        std::fflush(stdout);
        std::fprintf(stderr, "quillon: error: %s\n", e.what());
        return static_cast<int>(e.code());
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "quillon: error: out of memory\n");
        return static_cast<int>(ExitCode::OutOfMemory);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "quillon: error: internal: %s\n", e.what());
        return static_cast<int>(ExitCode::Internal);
    }
}

}  // namespace quillon
