// What a power cut may leave of a directory: follows the file calls, and lists every state in which
// a cut at this moment may leave the disk. Used by the power-cut tests.
//
// The model assumes only the guarantees without which a record could not be replaced at all; APFS,
// like other journaling file systems, guarantees more:
//
//  - A flush of a file (fsync, F_FULLFSYNC, F_BARRIERFSYNC) puts its content on the disk, a flush
//    of a directory its entries. Neither does the other's work, and neither flushes a directory
//    above.
//  - Any unflushed changes to a directory may have reached the disk, whatever their order and
//    whatever became of other directories: an entry may be there without its file's content, a
//    removed file may be back, a directory may be missing with everything in it.
//  - An entry changes as a whole. A rename may leave the old name in place as well, but a new name
//    that existed before always has its old file or the new one.
//  - Unflushed content may be as it was, half written, zeros of the full length, half written and
//    then zeros, or complete.
//
// A barrier keeps the order but does not wait for the disk. A cut after it leaves what a cut at an
// earlier moment would have left, and the model covers that moment.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "simulator/host/file_calls.hpp"

namespace tolvaran::tests {

/// The files below a directory by relative path, with their content; a directory has none.
using Tree = std::map<std::string, std::optional<std::string>>;

/// The tree below a directory of the host.
Tree treeBelow(const std::string& directory);

/// Makes a directory of the host hold exactly this tree.
void layOut(const Tree& tree, const std::string& directory);

/// What a power cut may leave.
struct PowerCut {
    std::set<Tree> trees;
    bool wasSampled = false;  // there were too many combinations to try each of them
};

class DiskModel {
  public:
    /// @param root the directory to follow; what is there now counts as flushed
    explicit DiskModel(std::string root);

    /// Follows one call. Calls on other places are ignored.
    void take(const simulator::FileCall& call);

    /// Functions that were called here but are unknown to the model. With any of them its answers
    /// mean nothing.
    const std::set<std::string>& unknownCalls() const { return unknownCalls_; }

    /// Adopts what differs in the host's directory, as flushed changes by another process.
    /// @return whether anything differed
    bool adoptForeignChanges();

    /// The tree if everything had reached the disk.
    Tree whole() const;

    /// What a cut at this moment may leave.
    PowerCut cut() const;

    /// Increases with every change of what a cut may leave.
    std::size_t version() const { return version_; }

  private:
    using NodeID = std::size_t;
    struct Node {
        bool isDirectory = false;
        std::string content = {};  // of a file
        std::string contentOnDisk = {};
        std::map<std::string, NodeID> entries = {};  // of a directory
        std::map<std::string, NodeID> entriesOnDisk = {};
    };
    /// A name that is given to a node or, without one, removed.
    struct EntryChange {
        NodeID directory;
        std::string name;
        std::optional<NodeID> node;
    };
    using Operation = std::vector<EntryChange>;  // a cut leaves none, the first, or all of them
    struct Open {
        NodeID node;
        std::size_t offset = 0;
    };
    struct Place {
        NodeID directory;
        std::string name;
        std::optional<NodeID> node;  // what is there
    };

    NodeID add(Node node);
    void addFromHost(NodeID directory, const std::string& path);
    std::optional<Place> find(const std::string& path) const;
    void perform(Operation operation);
    void open(const Place& place, int descriptor, bool creates, bool empties);
    void takeDescriptorCall(const simulator::FileCall& call);
    void takePathCall(const simulator::FileCall& call);
    void write(Open& file, std::string_view data);
    void flush(NodeID node);
    void replaceFromHost(const std::string& path, const Tree& host);
    std::set<NodeID> namedNodes() const;
    std::vector<NodeID> unflushedFiles() const;
    Tree tree(const std::vector<Node>& nodes) const;
    Tree treeAfter(const std::vector<NodeID>& unflushed,
                   const std::vector<std::size_t>& choice) const;

    std::string root_;
    std::vector<Node> nodes_;  // the first is the root
    std::vector<Operation> pending_;
    std::map<int, Open> open_;
    std::set<std::string> unknownCalls_;
    std::size_t version_ = 0;
};

}  // namespace tolvaran::tests
