// Where the library's messages go. The library writes no log of its own: it calls these three
// sinks, and the host (the helper, the main application, a test) decides what becomes of them.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tolvaran::RestoreLog {

/// Takes messages, each without a line end; an empty sink drops them. Assign it any function that
/// takes a const std::string&, or nullptr.
class Sink {
  public:
    constexpr Sink() = default;
    constexpr Sink(std::nullptr_t) {}
    template <typename Function>
    requires(!std::same_as<Function, Sink> && std::invocable<Function&, const std::string&>)
        Sink(Function function)
        : function_(std::make_shared<const Call>(std::move(function))) {}

    void operator()(const std::string& message) const;

  private:
    using Call = std::function<void(const std::string& message)>;

    std::shared_ptr<const Call> function_;
};

/// The sinks. They are empty until a host sets them, which it may do as early as during its static
/// initialisation. They are process-wide. Main thread only.
extern Sink debug;
extern Sink info;
extern Sink warn;

/// Empties all three sinks.
void silence();

}  // namespace tolvaran::RestoreLog
