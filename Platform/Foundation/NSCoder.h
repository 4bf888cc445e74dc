#pragma once

namespace LumoKit {

/// An archive of interface objects. No archive of this kind exists on this platform; the type lets a class
/// say that it cannot be made from one.
class NSCoder { };

} // namespace LumoKit
