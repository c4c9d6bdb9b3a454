// What a power cut may leave of a directory: follows the file calls, and gives every state in which
// a cut at this moment may leave the disk. Used by the power-cut tests.
//
// The model assumes only the guarantees without which a record could not be replaced at all; APFS,
// like other journaling file systems, guarantees more:
//
//  - A flush of a file (fsync, F_FULLFSYNC, F_BARRIERFSYNC) puts its content on the disk, a flush
//    of a directory its entries. Neither does the other's work, and neither flushes a directory
//    above.
//  - Of the changes to a directory that were not flushed, any may have reached the disk and any
//    not, whatever their order and whatever other directories say: an entry may be there without
//    its file's content, a file may be back after it was removed, a directory may be missing with
//    all that lies in it.
//  - An entry changes as a whole. A rename gives the new name to the file as one change, and may
//    then still have left the old name in place; it never leaves the new name without a file that
//    had one.
//  - Of content that was not flushed there may be nothing, half, zeros in the full length, half and
//    then zeros, or all.
//
// A barrier keeps the order but does not wait for the disk. A cut after it then leaves what a cut
// at an earlier moment would have left, which is a state that the model has at that moment.
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

/// Makes an empty or missing directory of the host hold exactly this tree.
void layOut(const Tree& tree, const std::string& directory);

/// What a power cut may leave.
struct PowerCut {
    std::set<Tree> trees;     // no two alike
    bool wasSampled = false;  // there were too many combinations to try each of them
};

class DiskModel {
  public:
    /// @param root the directory to follow; what is there now counts as flushed
    explicit DiskModel(std::string root);

    /// Follows one call. Calls on other places are ignored.
    void take(const simulator::FileCall& call);

    /// The functions called here whose effect on the disk the model does not know. With any of them
    /// the model is useless.
    const std::set<std::string>& unknownCalls() const { return unknownCalls_; }

    /// Takes what differs from the host's directory for the work of another process, which has
    /// flushed it. @return whether anything differed
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
