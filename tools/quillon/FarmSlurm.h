// `quillon farm slurm`: a farm job as a Slurm job array (one task per chunk)
// and a join job that runs when every task has succeeded.
#ifndef QUILLON_TOOLS_QUILLON_FARMSLURM_H
#define QUILLON_TOOLS_QUILLON_FARMSLURM_H

#include <optional>
#include <string>
#include <vector>

#include "FarmPlan.h"

namespace quillon {

struct SlurmOptions {
    std::string partition;
    std::string time;
    std::optional<int> cpusPerTask;
    std::vector<std::string> sbatchArgs;  // extra #SBATCH lines, such as --mem=8G
    bool wait = false;                    // block until the join ends; fail naming a failed task
    bool dryRun = false;                  // print the scripts and the submissions, change nothing
    bool resume = false;                  // submit only the chunks whose outputs are missing
    bool quiet = false;
};

// The array task script and the join script, as written to the farm folder.
std::string SlurmTaskScript(const FarmPlan& plan, const SlurmOptions& options);
std::string SlurmJoinScript(const FarmPlan& plan, const SlurmOptions& options);

// Writes the scripts, submits the array and the join, prints the job ids and
// (with wait) follows them to the end. Throws QuillonError.
void RunFarmSlurm(const FarmPlan& plan, const SlurmOptions& options);

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_FARMSLURM_H
