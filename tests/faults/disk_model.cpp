#include "tests/faults/disk_model.hpp"

#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <utility>

namespace tolvaran::tests {
namespace {

namespace fs = std::filesystem;

/// Beyond the combinations of twelve independent changes, only a sample is tried.
constexpr std::size_t maximumCombinations = 4096;

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What may be left of content that was on its way to the disk.
std::vector<std::string> remnants(const std::string& onDisk, const std::string& now) {
    const auto shorter = static_cast<std::ptrdiff_t>(std::min(onDisk.size(), now.size()));
    const auto change = std::mismatch(now.begin(), now.begin() + shorter, onDisk.begin()).first;
    const auto begin = static_cast<std::size_t>(change - now.begin());
    const std::size_t middle = begin + (now.size() - begin) / 2;
    const std::string zeros(now.size() - begin, '\0');
    return {onDisk, now.substr(0, middle), now.substr(0, begin) + zeros,
            now.substr(0, middle) + zeros.substr(middle - begin), now};
}

std::size_t combinations(const std::vector<std::size_t>& counts) {
    std::size_t product = 1;
    for (const std::size_t count : counts) {
        product = std::min(product * count, maximumCombinations + 1);
    }
    return product;
}

/// Moves on to the next combination of numbers, each below its count; false after the last.
bool advance(std::vector<std::size_t>& choice, const std::vector<std::size_t>& counts) {
    for (std::size_t i = 0; i < choice.size(); ++i) {
        if (++choice[i] < counts[i]) {
            return true;
        }
        choice[i] = 0;
    }
    return false;
}

/// Tries nothing, everything, and a fixed random choice of what lies between.
void forSample(const std::vector<std::size_t>& counts,
               const std::function<void(const std::vector<std::size_t>&)>& attempt) {
    std::vector<std::size_t> choice(counts.size(), 0);
    attempt(choice);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        choice[i] = counts[i] - 1;
    }
    attempt(choice);
    std::mt19937 random(static_cast<std::mt19937::result_type>(counts.size()));
    for (std::size_t n = 2; n < maximumCombinations; ++n) {
        for (std::size_t i = 0; i < counts.size(); ++i) {
            choice[i] = random() % counts[i];
        }
        attempt(choice);
    }
}

}  // namespace

Tree treeBelow(const std::string& directory) {
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        const std::string path = entry.path().lexically_relative(directory).string();
        tree[path] = entry.is_directory() ? std::nullopt : std::optional(contentOf(entry.path()));
    }
    return tree;
}

void layOut(const Tree& tree, const std::string& directory) {
    fs::remove_all(directory);
    fs::create_directories(directory);
    for (const auto& [path, content] : tree) {
        if (content) {
            std::ofstream(fs::path(directory) / path, std::ios::binary) << *content;
        } else {
            fs::create_directory(fs::path(directory) / path);
        }
    }
}

DiskModel::DiskModel(std::string root) : root_(fs::path(std::move(root)).lexically_normal()) {
    addFromHost(add({.isDirectory = true}), root_);
}

void DiskModel::take(const simulator::FileCall& call) {
    if (call.path != nullptr) {
        takePathCall(call);
    } else {
        takeDescriptorCall(call);
    }
}

bool DiskModel::adoptForeignChanges() {
    const Tree host = treeBelow(root_);
    const Tree own = whole();
    if (host == own) {
        return false;
    }
    std::set<std::string> paths;
    for (const Tree& tree : {host, own}) {
        std::transform(tree.begin(), tree.end(), std::inserter(paths, paths.end()),
                       [](const auto& entry) { return entry.first; });
    }
    for (const std::string& path : paths) {
        const auto there = host.find(path);
        const auto here = own.find(path);
        if (there == host.end() || here == own.end() || there->second != here->second) {
            replaceFromHost(path, host);
        }
    }
    return true;
}

Tree DiskModel::whole() const {
    return tree(nodes_);
}

PowerCut DiskModel::cut() const {
    const std::vector<NodeID> unflushed = unflushedFiles();
    std::vector<std::size_t> counts;
    for (const Operation& operation : pending_) {
        counts.push_back(operation.size() + 1);
    }
    for (const NodeID file : unflushed) {
        counts.push_back(remnants(nodes_[file].contentOnDisk, nodes_[file].content).size());
    }
    PowerCut result;
    const auto attempt = [&](const std::vector<std::size_t>& choice) {
        result.trees.insert(treeAfter(unflushed, choice));
    };
    result.wasSampled = combinations(counts) > maximumCombinations;
    if (result.wasSampled) {
        forSample(counts, attempt);
        return result;
    }
    std::vector<std::size_t> choice(counts.size(), 0);
    do {
        attempt(choice);
    } while (advance(choice, counts));
    return result;
}

DiskModel::NodeID DiskModel::add(Node node) {
    nodes_.push_back(std::move(node));
    return nodes_.size() - 1;
}

/// Fills the directory node from the host's directory; all of it counts as flushed.
void DiskModel::addFromHost(NodeID directory, const std::string& path) {
    for (const auto& entry : fs::directory_iterator(path)) {
        const bool isDirectory = entry.is_directory();
        const std::string content = isDirectory ? "" : contentOf(entry.path());
        const NodeID node =
            add({.isDirectory = isDirectory, .content = content, .contentOnDisk = content});
        const std::string name = entry.path().filename().string();
        nodes_[directory].entries[name] = node;
        nodes_[directory].entriesOnDisk[name] = node;
        if (isDirectory) {
            addFromHost(node, entry.path());
        }
    }
}

std::optional<DiskModel::Place> DiskModel::find(const std::string& path) const {
    const fs::path relative = fs::path(path).lexically_normal().lexically_relative(root_);
    if (relative.empty() || *relative.begin() == "..") {
        return std::nullopt;
    }
    Place place{.directory = 0, .name = ".", .node = 0};
    for (const fs::path& component : relative) {
        if (component == "." || component.empty()) {
            continue;
        }
        if (!place.node) {
            return std::nullopt;
        }
        const auto& entries = nodes_[*place.node].entries;
        const auto found = entries.find(component);
        place = {.directory = *place.node,
                 .name = component,
                 .node = found == entries.end() ? std::nullopt : std::optional(found->second)};
    }
    return place;
}

void DiskModel::perform(Operation operation) {
    for (const EntryChange& change : operation) {
        auto& entries = nodes_[change.directory].entries;
        if (change.node) {
            entries[change.name] = *change.node;
        } else {
            entries.erase(change.name);
        }
    }
    pending_.push_back(std::move(operation));
    ++version_;
}

void DiskModel::open(const Place& place, int descriptor, bool creates, bool empties) {
    NodeID node = place.node.value_or(0);
    if (!place.node && creates) {
        node = add({});
        perform({{place.directory, place.name, node}});
    }
    if (empties) {
        nodes_[node].content.clear();
        ++version_;
    }
    open_[descriptor] = {.node = node};
}

void DiskModel::takePathCall(const simulator::FileCall& call) {
    const std::optional<Place> place = find(call.path);
    if (!place) {
        return;
    }
    const int descriptor = static_cast<int>(call.result);
    if (call.function == "open") {
        open(*place, descriptor, (call.flags & O_CREAT) != 0, (call.flags & O_TRUNC) != 0);
    } else if (call.function == "mkostemp") {
        open(*place, descriptor, true, true);
    } else if (call.function == "mkdir") {
        perform({{place->directory, place->name, add({.isDirectory = true})}});
    } else if (call.function == "unlink") {
        perform({{place->directory, place->name, std::nullopt}});
    } else if (const auto linked = call.function == "link" ? find(call.newPath) : std::nullopt) {
        perform({{linked->directory, linked->name, place->node}});
    } else if (const auto to = call.function == "rename" ? find(call.newPath) : std::nullopt) {
        perform({{to->directory, to->name, place->node},
                 {place->directory, place->name, std::nullopt}});
    } else {
        unknownCalls_.emplace(call.function);
    }
}

void DiskModel::takeDescriptorCall(const simulator::FileCall& call) {
    const auto found = open_.find(call.descriptor);
    if (found == open_.end()) {
        return;
    }
    const bool flushes =
        call.function == "fsync" ||
        (call.function == "fcntl" && (call.flags == F_FULLFSYNC || call.flags == F_BARRIERFSYNC));
    if (flushes) {
        flush(found->second.node);
    } else if (call.function == "write") {
        write(found->second, call.data.substr(0, static_cast<std::size_t>(call.result)));
    } else if (call.function == "close") {
        open_.erase(found);
    } else if (call.function != "fcntl") {
        unknownCalls_.emplace(call.function);
    }
}

void DiskModel::write(Open& file, std::string_view data) {
    std::string& content = nodes_[file.node].content;
    content.resize(std::max(content.size(), file.offset + data.size()));
    content.replace(file.offset, data.size(), data);
    file.offset += data.size();
    ++version_;
}

void DiskModel::flush(NodeID id) {
    Node& node = nodes_[id];
    node.contentOnDisk = node.content;
    node.entriesOnDisk = node.entries;
    for (Operation& operation : pending_) {
        std::erase_if(operation,
                      [id](const EntryChange& change) { return change.directory == id; });
    }
    std::erase_if(pending_, [](const Operation& operation) { return operation.empty(); });
    ++version_;
}

/// Makes this place what it is on the host, and flushed.
void DiskModel::replaceFromHost(const std::string& path, const Tree& host) {
    const std::optional<Place> place = find((fs::path(root_) / path).string());
    if (!place) {
        return;
    }
    for (Operation& operation : pending_) {
        std::erase_if(operation, [&](const EntryChange& change) {
            return change.directory == place->directory && change.name == place->name;
        });
    }
    std::erase_if(pending_, [](const Operation& operation) { return operation.empty(); });
    const auto there = host.find(path);
    if (there == host.end()) {
        nodes_[place->directory].entries.erase(place->name);
        nodes_[place->directory].entriesOnDisk.erase(place->name);
    } else {
        const std::string content = there->second.value_or("");
        const NodeID node =
            add({.isDirectory = !there->second, .content = content, .contentOnDisk = content});
        nodes_[place->directory].entries[place->name] = node;
        nodes_[place->directory].entriesOnDisk[place->name] = node;
    }
    ++version_;
}

/// The nodes that have a name, or may have one after a cut.
std::set<DiskModel::NodeID> DiskModel::namedNodes() const {
    std::set<NodeID> named;
    for (const Node& node : nodes_) {
        for (const auto* const entries : {&node.entries, &node.entriesOnDisk}) {
            std::transform(entries->begin(), entries->end(), std::inserter(named, named.end()),
                           [](const auto& entry) { return entry.second; });
        }
    }
    for (const Operation& operation : pending_) {
        for (const EntryChange& change : operation) {
            named.insert(change.node.value_or(0));
        }
    }
    return named;
}

std::vector<DiskModel::NodeID> DiskModel::unflushedFiles() const {
    const std::set<NodeID> named = namedNodes();
    std::vector<NodeID> files;
    std::copy_if(named.begin(), named.end(), std::back_inserter(files),
                 [this](NodeID id) { return nodes_[id].content != nodes_[id].contentOnDisk; });
    return files;
}

/// The tree formed by the current entries and contents of these nodes.
Tree DiskModel::tree(const std::vector<Node>& nodes) const {
    Tree result;
    const std::function<void(NodeID, const std::string&)> addEntries = [&](NodeID directory,
                                                                           const std::string& at) {
        for (const auto& [name, node] : nodes[directory].entries) {
            const bool isDirectory = nodes[node].isDirectory;
            result[at + name] = isDirectory ? std::nullopt : std::optional(nodes[node].content);
            addEntries(node, at + name + "/");
        }
    };
    addEntries(0, "");
    return result;
}

/// @param choice how many changes of each pending operation have reached the disk, and then which
///        remnant of each unflushed file
Tree DiskModel::treeAfter(const std::vector<NodeID>& unflushed,
                          const std::vector<std::size_t>& choice) const {
    std::vector<Node> nodes = nodes_;
    for (Node& node : nodes) {
        node.entries = node.entriesOnDisk;
    }
    for (std::size_t i = 0; i < pending_.size(); ++i) {
        for (std::size_t n = 0; n < choice[i]; ++n) {
            const EntryChange& change = pending_[i][n];
            if (change.node) {
                nodes[change.directory].entries[change.name] = *change.node;
            } else {
                nodes[change.directory].entries.erase(change.name);
            }
        }
    }
    for (std::size_t i = 0; i < unflushed.size(); ++i) {
        Node& node = nodes[unflushed[i]];
        node.content = remnants(node.contentOnDisk, node.content)[choice[pending_.size() + i]];
    }
    return tree(nodes);
}

}  // namespace tolvaran::tests
