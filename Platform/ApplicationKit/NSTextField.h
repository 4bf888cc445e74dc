#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>

#include <string>

namespace LumoKit {

/// A field for one line of text. It is as high as its frame says, also where the theme would have it higher.
///
/// Thread: the main thread.
class NSTextField : public NSView {
public:
    explicit NSTextField(const CGRect& frame = {});
    /// As an interface file describes it: what every view has, and "value", the text.
    explicit NSTextField(const NSCoder& coder);

    /// What stands in the field.
    [[nodiscard]] std::string stringValue() const;
    /// What is no UTF-8 is shown as replacement characters; 65,535 characters at most.
    void setStringValue(const std::string& text);
};

} // namespace LumoKit
