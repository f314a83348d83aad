#pragma once

#include "HelperCommand.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace helper {

/// Several checked commands for one start of the helper, so that one user action asks for the
/// password once: "batch STEP [SEPARATOR STEP]...", each STEP a verb with its arguments exactly
/// as the verb alone takes them, each SEPARATOR ";" (the next step runs whatever became of this
/// one) or "&&" (the next step runs only if this one succeeded). No argument of any verb can
/// read as a separator. Every step is checked before any runs.
struct HelperBatch {
    struct Step {
        HelperCommand command;
        bool onlyAfterSuccess = false; ///< joined to the step before by "&&"
    };

    std::vector<Step> steps;

    static constexpr std::string_view verb = "batch";
    /// Game Mode's longest batch is one step per background application plus four.
    static constexpr std::size_t maximumSteps = 64;

    /// The outcome of reading a batch: its steps, or one line saying what is wrong.
    struct Parsed;

    /// Reads the words after "batch".
    [[nodiscard]] static Parsed parse(std::span<const std::string_view> arguments);

    /// Runs the steps in order through run (which returns an error line, or nothing on success)
    /// and reports each step's line through print: "ok", "failed: " and the error, or
    /// "skipped". True when every step succeeded.
    bool run(const std::function<std::optional<std::string>(const HelperCommand &)> &runStep,
             const std::function<void(const std::string &line)> &print) const;
};

struct HelperBatch::Parsed {
    std::optional<HelperBatch> batch;
    std::string error;
};

} // namespace helper
