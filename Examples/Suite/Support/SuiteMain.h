#pragma once

#include "Support/SuiteApplication.h"
#include "Support/TourSteps.h"

#include <functional>
#include <memory>
#include <vector>

namespace LumoSuite {

/// What a program of the suite is.
struct SuiteProgram {
    LumoKit::CrossApp::App app;
    std::function<std::shared_ptr<SuiteApplication>(
        std::optional<OtherPage> otherPage, SuiteApplication::Report report)>
        make;
    /// The walk through it, as a user takes it.
    std::function<std::vector<Tour::Step>(
        const std::shared_ptr<SuiteApplication>& application, const TourSteps& steps)>
        tour;
};

/// The `main` of a program of the suite:
///
///   PROGRAM [--page URL [--name NAME]] [--tour PICTURE] [LINK...]
///   PROGRAM --register SCHEME
///
/// --page hosts another address, under a name of its own; --tour walks through the application by itself, saves pictures, and gives 0 only if
/// everything was seen. --register makes this the application that the desktop opens links of a scheme with, its own or
/// another one that it can open. Links are received as they are from the desktop, wherever the application was started.
int suiteMain(const SuiteProgram& program, int count, char** arguments);

} // namespace LumoSuite
