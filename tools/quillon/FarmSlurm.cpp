#include "FarmSlurm.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include "Errors.h"
#include "Interrupt.h"
#include "SafeOutput.h"
#include "SequencePattern.h"

namespace fs = std::filesystem;

namespace quillon {

namespace {

// Runs a command through the shell; returns its exit status and standard
// output (standard error goes to ours).
std::pair<int, std::string> Run(const std::vector<std::string>& command) {
    FILE* pipe = popen(ShellJoin(command).c_str(), "r");
    if (pipe == nullptr) {
        throw QuillonError(ExitCode::Internal, "cannot run " + command.front());
    }
    std::string out;
    char buffer[4096];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        out.append(buffer, n);
    }
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128, out};
}

std::string Trim(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) {
        text.pop_back();
    }
    return text;
}

std::string Header(const FarmPlan& plan, const SlurmOptions& o, const std::string& name,
                   const std::string& log) {
    std::string h = "#!/bin/bash\n";
    auto line = [&h](const std::string& option) { h += "#SBATCH " + option + "\n"; };
    // sbatch reads these lines itself, not through the shell: no quoting.
    line("--job-name=" + name);
    line("--output=" + (plan.folder / "logs" / log).string());
    line("--chdir=" + fs::current_path().string());
    if (!o.partition.empty()) {
        line("--partition=" + o.partition);
    }
    if (!o.time.empty()) {
        line("--time=" + o.time);
    }
    if (o.cpusPerTask) {
        line("--cpus-per-task=" + std::to_string(*o.cpusPerTask));
    }
    for (const std::string& extra : o.sbatchArgs) {
        line(extra);
    }
    return h;
}

std::string JobName(const FarmPlan& plan) {
    return "quillon-" + plan.folder.stem().string();
}

// "0-9" for a full run, "2,5,7" for a resumed one.
std::string ArrayIndices(const std::vector<FarmChunk>& chunks, bool all) {
    if (all) {
        return "0-" + std::to_string(chunks.back().index);
    }
    std::string list;
    for (const FarmChunk& c : chunks) {
        list.append(list.empty() ? "" : ",").append(std::to_string(c.index));
    }
    return list;
}

void WriteScript(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
        throw QuillonError(ExitCode::OutputFailed, "cannot write '" + path.string() + "'");
    }
    fs::permissions(path, fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec,
                    fs::perm_options::add);
}

std::string JobId(const std::string& parsable) {
    // sbatch --parsable prints "ID" or "ID;CLUSTER".
    const std::string id = Trim(parsable);
    return id.substr(0, id.find(';'));
}

std::string Submit(std::vector<std::string> command) {
    const auto [status, out] = Run(command);
    if (status == 127) {
        throw QuillonError(ExitCode::Unsupported,
                           "sbatch was not found: quillon farm slurm needs Slurm's commands");
    }
    if (status != 0 || JobId(out).empty()) {
        throw QuillonError(ExitCode::OutputFailed,
                           "sbatch refused the job (" + ShellJoin(command) + ")");
    }
    return JobId(out);
}

bool InQueue(const std::string& job) {
    const auto [status, out] = Run({"squeue", "--noheader", "--jobs=" + job, "--format=%T"});
    return status == 0 && !Trim(out).empty();
}

// After the join has left the queue: success, or the failed tasks by name.
void Verdict(const FarmPlan& plan, const std::string& arrayJob, const std::string& joinJob) {
    std::error_code ec;
    if (fs::exists(plan.folder / "joined", ec)) {
        return;
    }
    std::string failed;
    for (const FarmChunk& c : plan.chunks) {
        std::ifstream marker(plan.MarkerPath("failed", c.index));
        int code = 0;
        if (marker >> code) {
            failed += (failed.empty() ? "" : "; ") + std::string("task ") + arrayJob + "_" +
                      std::to_string(c.index) + " (frames " + std::to_string(c.first) + "-" +
                      std::to_string(c.last) + ") failed with exit code " + std::to_string(code) +
                      ", log " +
                      (plan.folder / "logs" /
                       ("task-" + arrayJob + "_" + std::to_string(c.index) + ".log"))
                          .string();
        }
    }
    if (!failed.empty()) {
        throw QuillonError(ExitCode::OutputFailed,
                           failed + "; run again with --resume to redo the missing chunks");
    }
    throw QuillonError(ExitCode::OutputFailed,
                       "the join job " + joinJob + " did not finish, log " +
                           (plan.folder / "logs" / ("join-" + joinJob + ".log")).string());
}

}  // namespace

std::string SlurmTaskScript(const FarmPlan& plan, const SlurmOptions& o) {
    std::string s = Header(plan, o, JobName(plan), "task-%A_%a.log");
    s += "# One chunk of " + plan.upscale.output +
         " a task. Under Slurm the array index picks the chunk;\n"
         "# `bash " +
         (plan.folder / "task.sh").string() +
         " INDEX` runs chunk INDEX anywhere.\n"
         "set -u\n"
         "index=${1:-${SLURM_ARRAY_TASK_ID:?give a chunk index}}\n"
         "folder=" +
         ShellQuote(plan.folder.string()) +
         "\n"
         "case \"$index\" in\n";
    for (const FarmChunk& c : plan.chunks) {
        s += "    " + std::to_string(c.index) + ") command=(" +
             ShellJoin(plan.ChunkCommand(c, o.resume)) + ") ;;\n";
    }
    s += "    *) echo \"no chunk $index\" >&2; exit 2 ;;\n"
         "esac\n"
         "# The engine splits frames over the CPUs the task was given (--threads still wins).\n"
         "export QUILLON_THREADS=${QUILLON_THREADS:-${SLURM_CPUS_PER_TASK:-1}}\n"
         "mkdir -p \"$folder/times\" \"$folder/failed\"\n"
         "rm -f \"$folder/failed/chunk-$index\"\n"
         "start=$(date +%s.%N)\n"
         "\"${command[@]}\"\n"
         "status=$?\n"
         "if [ \"$status\" -ne 0 ]; then\n"
         "    echo \"$status\" > \"$folder/failed/chunk-$index\"\n"
         "    exit \"$status\"\n"
         "fi\n"
         "echo \"$start $(date +%s.%N)\" > \"$folder/times/chunk-$index\"\n";
    return s;
}

std::string SlurmJoinScript(const FarmPlan& plan, const SlurmOptions& o) {
    std::string s = Header(plan, o, JobName(plan) + "-join", "join-%j.log");
    s += "# Checks every chunk of " + plan.upscale.output +
         ", assembles the result and writes summary.json.\n"
         "set -u\n"
         "folder=" +
         ShellQuote(plan.folder.string()) +
         "\n"
         "rm -f \"$folder/joined\"\n" +
         ShellJoin(plan.JoinCommand()) + " && touch \"$folder/joined\"\n";
    return s;
}

void RunFarmSlurm(const FarmPlan& plan, const SlurmOptions& o) {
    if (!o.resume) {
        // Refuse an output in the way before anything is submitted.
        if (plan.kind == MediaKind::Video) {
            CheckDestination(plan.upscale.input, plan.upscale.output, plan.upscale.force);
        } else {
            const auto in = SequencePattern::Parse(plan.upscale.input);
            const auto out = SequencePattern::Parse(plan.upscale.output);
            for (const FarmChunk& c : plan.chunks) {
                for (int64_t f = c.first; f <= c.last; ++f) {
                    CheckDestination(in->Format(f), out->Format(f), plan.upscale.force);
                }
            }
        }
    }
    std::vector<FarmChunk> todo;
    for (const FarmChunk& c : plan.chunks) {
        if (!o.resume || !plan.ChunkComplete(c)) {
            todo.push_back(c);
        }
    }
    const bool all = todo.size() == plan.chunks.size();
    const std::string task = SlurmTaskScript(plan, o);
    const std::string join = SlurmJoinScript(plan, o);
    const fs::path taskPath = plan.folder / "task.sh";
    const fs::path joinPath = plan.folder / "join.sh";
    std::vector<std::string> arrayCommand = {
        "sbatch", "--parsable", "--array=" + (todo.empty() ? "" : ArrayIndices(todo, all)),
        taskPath.string()};
    if (o.dryRun) {
        std::printf("# %s\n%s\n# %s\n%s\n", taskPath.c_str(), task.c_str(), joinPath.c_str(),
                    join.c_str());
        if (!todo.empty()) {
            std::printf("# submit: %s\n", ShellJoin(arrayCommand).c_str());
        }
        std::printf("# then: sbatch --parsable%s --kill-on-invalid-dep=yes %s\n",
                    todo.empty() ? "" : " --dependency=afterok:ARRAY_JOB", joinPath.c_str());
        return;
    }

    std::error_code ec;
    fs::create_directories(fs::absolute(plan.upscale.output).parent_path(), ec);
    std::vector<std::string> subfolders = {"logs", "times", "failed"};
    if (plan.kind == MediaKind::Video) {
        subfolders.emplace_back("segments");
    }
    for (const std::string& sub : subfolders) {
        fs::create_directories(plan.folder / sub, ec);
        if (ec) {
            throw QuillonError(ExitCode::OutputFailed,
                               "cannot create '" + (plan.folder / sub).string() + "'");
        }
    }
    WriteScript(taskPath, task);
    WriteScript(joinPath, join);
    fs::remove(plan.folder / "joined", ec);
    for (const FarmChunk& c : todo) {
        fs::remove(plan.MarkerPath("failed", c.index), ec);
    }

    std::string arrayJob;
    std::vector<std::string> joinCommand = {"sbatch", "--parsable", "--kill-on-invalid-dep=yes"};
    if (!todo.empty()) {
        arrayJob = Submit(arrayCommand);
        joinCommand.push_back("--dependency=afterok:" + arrayJob);
    }
    joinCommand.push_back(joinPath.string());
    const std::string joinJob = Submit(joinCommand);
    std::printf("array job %s: %zu task%s (%s); join job %s\n",
                arrayJob.empty() ? "-" : arrayJob.c_str(), todo.size(), todo.size() == 1 ? "" : "s",
                todo.empty() ? "none missing" : ("chunks " + ArrayIndices(todo, all)).c_str(),
                joinJob.c_str());
    std::fflush(stdout);
    if (!o.wait) {
        return;
    }
    while (InQueue(joinJob)) {
        ThrowIfInterrupted();
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
    Verdict(plan, arrayJob, joinJob);
    if (!o.quiet) {
        std::fprintf(stderr, "quillon: farm job done: %s (%lld frames in %zu chunks)\n",
                     plan.upscale.output.c_str(), static_cast<long long>(plan.frames),
                     plan.chunks.size());
    }
}

}  // namespace quillon
