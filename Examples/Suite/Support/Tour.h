#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace LumoSuite {

/// A scripted walk through an application: a list of steps, each of which does something and then waits until
/// something was seen. It prints a line a step, and ends the first time that a step is not seen.
///
/// Thread: the main thread.
class Tour : public std::enable_shared_from_this<Tour> {
public:
    struct Step {
        /// What is to be seen, for the printed line.
        std::string name;
        /// Sets it off; may be empty.
        std::function<void()> act;
        /// The beginning of the event that ends the step.
        std::string expected;
        /// The framework's components without which that event does not come, by the names of their headers. The tests hold
        /// those of all walks against those that there are, and against what has run.
        std::vector<std::string> shows{};
    };

    /// `ended` is called once, with whether every step was seen.
    Tour(std::vector<Step> steps, std::function<void(bool)> ended);

    /// Takes the first step.
    void start();

    /// Something happened in the application. Events that come before their step is reached count for it all
    /// the same.
    void saw(const std::string& event);

private:
    void advance();
    bool takeStep();
    void end(bool complete);

    std::vector<Step> steps;
    std::function<void(bool)> ended;
    std::vector<std::string> events;
    std::size_t current = 0;
    bool acted = false;
    bool running = false;
    bool advancing = false;
};

} // namespace LumoSuite
