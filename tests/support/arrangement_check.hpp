// The helper's check of the arrangement, as rows of a table: where the displays are, what is saved
// and marked for them, which calls fail, and then what is logged, called and still marked.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/lines.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {

/// A display and its origin. All displays are squares of 100 points.
struct Place {
    int display;
    int x;
    int y;
};
using Places = std::vector<Place>;

// Layouts of two, three and four displays in which only corners meet.
inline const Places two{{1, 0, 0}, {2, 100, 100}};
inline const Places three{{1, 0, 0}, {2, 100, 100}, {3, 200, 200}};
inline const Places four{{1, 0, 0}, {2, 100, 100}, {3, 200, 200}, {4, 300, 300}};
// One corner that meets another and one shared side.
inline const Places ambiguous{{1, 0, 0}, {2, 100, 0}, {3, 200, 100}};
inline const Places sideBySide{{1, 0, 0}, {2, 100, 0}};
inline const Places column{{1, 0, 0}, {2, 0, 100}};
/// A place that no layout above uses.
inline const Places elsewhere{{1, 7, 7}};

/// A Mac with these displays.
nlohmann::json mac(const Places& places);
/// The UUID of a display on that Mac.
std::string uuid(int display);
/// The signature of displays that are given in ascending order.
std::string sig(const std::vector<int>& displays);
/// One display of a saved arrangement, by name.
nlohmann::json placed(const std::string& name, int x, int y);
/// A saved arrangement or a marked layout.
nlohmann::json entries(const Places& places);

// What is logged.

inline const std::string detected = "info: Detected zigzag/corner-touch arrangement";
/// A line of the check itself.
std::string said(const std::string& level, const std::string& message);
extern const std::string healthy;
extern const std::string ambiguousGate;
extern const std::string leftUnchanged;
extern const std::string applyingStacked;
std::string isItselfZigzag(const std::string& label);
std::string alreadyInForce(const std::string& label);
std::string nothingUsable(const std::string& signature);
std::string restoredExact(const std::string& signature);
std::string restoredSubset(const std::string& signature, int size);
std::string restoredProjection(const std::string& signature);
std::string restoredStacked(const std::string& signature);
std::string clearedMark(const std::string& kind, const std::string& signature);
/// The lines of moving these displays, whose places are already relative to the main display.
Lines moved(const Places& places);

// What is called.

inline const std::string beginCall = "CGBeginDisplayConfiguration [] = 0";
inline const std::string completeCall = "CGCompleteDisplayConfiguration [1] = 0";
/// The calls for moving these displays, with what the window server answered at the end.
Lines moveCalls(const Places& places, const std::string& end = completeCall);

/// One helper process with its state files.
class ArrangementCheck {
  public:
    /// @param saved the saved arrangements by signature; null for none
    explicit ArrangementCheck(const nlohmann::json& machine, const nlohmann::json& saved = nullptr);
    explicit ArrangementCheck(const Places& places, const nlohmann::json& saved = nullptr)
        : ArrangementCheck(mac(places), saved) {}

    /// Marks the signatures in all three stores; `layout` is what the two with layouts hold.
    void markAll(const Lines& signatures, const Places& layout) const;
    /// Makes the main application treat these IDs as one display.
    void fold(const Lines& ids) const { process_.knowDisplays({ids}); }
    /// Writes a file in the state directory.
    void write(const std::string& name, const nlohmann::json& content) const;

    /// What the three stores hold: "separated", "side-pinned" or "native-mirrored", a colon and the
    /// signature.
    Lines marks() const;

    /// Runs the check and returns its log. Whatever happens, the originals must stay as they are
    /// and no object may be left behind.
    Lines run(const std::string& tag = "cold-start", std::optional<pid_t> exited = std::nullopt);

    /// The calls since this was last asked.
    Lines takeCalls() { return process_.takeCalls(); }

    std::string state(const std::string& name) const { return process_.state(name); }

  private:
    nlohmann::json read(const std::string& name) const;

    HelperProcess process_;
};

/// One check, and everything that is expected of it.
struct CheckRow {
    std::string name;  // letters and digits
    nlohmann::json machine = mac(two);
    nlohmann::json saved = nlohmann::json();  // arrangements by signature
    std::optional<Places> marked = {};  // marked in all stores for all displays of the machine
    std::vector<nlohmann::json> faults = {};
    Lines log;
    Lines calls = {};
    /// The kinds of mark that are left, if there were any; not set: all of them.
    std::optional<Lines> marksLeft = {};
};

void PrintTo(const CheckRow& row, std::ostream* out);

/// Runs the check, and compares everything with the row.
void expectRow(const CheckRow& row);

}  // namespace tolvaran::tests
