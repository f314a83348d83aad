#include "HelperBatch.h"

#include <algorithm>

namespace helper {

namespace {

constexpr std::string_view thenSeparator = ";";
constexpr std::string_view ifSucceededSeparator = "&&";

bool isSeparator(std::string_view word)
{
    return word == thenSeparator || word == ifSucceededSeparator;
}

HelperBatch::Parsed failure(std::string text)
{
    return {std::nullopt, std::move(text)};
}

} // namespace

HelperBatch::Parsed HelperBatch::parse(std::span<const std::string_view> arguments)
{
    HelperBatch batch;
    bool onlyAfterSuccess = false;
    std::size_t begin = 0;
    while (true) {
        std::size_t end = begin;
        while (end < arguments.size() && !isSeparator(arguments[end])) {
            ++end;
        }
        const std::span<const std::string_view> words = arguments.subspan(begin, end - begin);
        const std::string number = std::to_string(batch.steps.size() + 1);
        if (words.empty()) {
            return failure("Step " + number + ": No action given");
        }
        // A batch inside a batch would only hide its steps from this count.
        if (words.front() == verb) {
            return failure("Step " + number + ": Unknown action");
        }
        if (batch.steps.size() == maximumSteps) {
            return failure("Too many steps");
        }
        HelperCommand::Parsed step = HelperCommand::parse(words);
        if (!step.command) {
            return failure("Step " + number + ": " + step.error);
        }
        batch.steps.push_back({*step.command, onlyAfterSuccess});
        if (end == arguments.size()) {
            break;
        }
        onlyAfterSuccess = arguments[end] == ifSucceededSeparator;
        begin = end + 1;
    }
    return {std::move(batch), {}};
}

bool HelperBatch::run(
    const std::function<std::optional<std::string>(const HelperCommand &)> &runStep,
    const std::function<void(const std::string &line)> &print) const
{
    bool allSucceeded = true;
    bool previousSucceeded = true;
    for (const Step &step : steps) {
        if (step.onlyAfterSuccess && !previousSucceeded) {
            print("skipped");
            allSucceeded = false;
            continue;
        }
        const std::optional<std::string> error = runStep(step.command);
        previousSucceeded = !error;
        allSucceeded = allSucceeded && previousSucceeded;
        std::string line = error ? "failed: " + *error : std::string("ok");
        // One line per step, whatever a tool put in its message.
        std::replace(line.begin(), line.end(), '\n', ' ');
        print(line);
    }
    return allSucceeded;
}

} // namespace helper
