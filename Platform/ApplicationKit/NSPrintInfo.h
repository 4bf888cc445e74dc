#pragma once

#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <memory>
#include <optional>

namespace LumoKit {

/// How something is printed: the paper and its margins, where it goes, and what the user chose the last time.
///
/// A new one has the paper that is usual in the user's country, and the margins of that paper. Print panels write
/// back what the user chooses, except for copies and pages, which belong to one print only.
///
/// Units: points, 72 to the inch.
/// Thread: the main thread.
class NSPrintInfo : public NSObject {
public:
    /// The application's own. Changes last until it ends.
    [[nodiscard]] static std::shared_ptr<NSPrintInfo> shared();

    NSPrintInfo();
    ~NSPrintInfo() override;

    /// The paper as it lies: what is wide in one orientation is high in the other.
    [[nodiscard]] CGSize paperSize() const;
    /// Margins stay.
    void setPaperSize(const CGSize& size);

    enum class Orientation { portrait, landscape };
    [[nodiscard]] Orientation orientation() const;
    void setOrientation(Orientation orientation);

    [[nodiscard]] double topMargin() const;
    void setTopMargin(double margin);
    [[nodiscard]] double bottomMargin() const;
    void setBottomMargin(double margin);
    [[nodiscard]] double leftMargin() const;
    void setLeftMargin(double margin);
    [[nodiscard]] double rightMargin() const;
    void setRightMargin(double margin);

    /// What becomes of a job.
    enum class JobDisposition {
        /// It goes to a printer.
        spool,
        /// It becomes a PDF file.
        save
    };
    JobDisposition jobDisposition = JobDisposition::spool;
    /// The file, for `save`; one that is there is replaced.
    std::optional<URL> jobSavingURL;

    struct Native;
    /// The platform's side, for the platform layer itself.
    [[nodiscard]] Native& nativeInfo() const { return *native; }

private:
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit
