#include <support/file_tree.hpp>

#include <chrono>
#include <sstream>
#include <utility>

namespace tarnix::test {

namespace {

std::string parent(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

/// What the paths of everything below `folder` begin with.
std::string below(const std::string& folder)
{
    return folder == "/" ? folder : folder + '/';
}

} // namespace

std::string file_tree::resolve(const std::string& folder, const std::string& name)
{
    std::vector<std::string> segments;
    std::istringstream text(name.starts_with('/') ? name : folder + '/' + name);
    for (std::string segment; std::getline(text, segment, '/');) {
        if (segment == "..") {
            if (!segments.empty())
                segments.pop_back();
        } else if (!segment.empty() && segment != ".") {
            segments.push_back(segment);
        }
    }
    std::string path;
    for (const auto& segment : segments)
        path += '/' + segment;
    return path.empty() ? "/" : path;
}

bool file_tree::is_folder(const std::string& path) const
{
    const std::lock_guard lock(mutex_);
    return is_folder_unlocked(path);
}

bool file_tree::is_file(const std::string& path) const
{
    return read(path).has_value();
}

std::optional<std::string> file_tree::read(const std::string& path) const
{
    const std::lock_guard lock(mutex_);
    return read_unlocked(path);
}

std::optional<std::string> file_tree::await(const std::string& path) const
{
    std::unique_lock lock(mutex_);
    std::optional<std::string> content;
    changed_.wait_for(lock, std::chrono::seconds(5),
                      [&] { return (content = read_unlocked(path)).has_value(); });
    return content;
}

std::vector<std::string> file_tree::names(const std::string& folder) const
{
    const std::lock_guard lock(mutex_);
    const auto prefix = below(folder);
    std::vector<std::string> names;
    for (const auto& [path, node] : entries_)
        if (path.size() > prefix.size() && path.starts_with(prefix) &&
            path.find('/', prefix.size()) == std::string::npos)
            names.push_back(path.substr(prefix.size()));
    return names;
}

void file_tree::add_folder(const std::string& path)
{
    const std::lock_guard lock(mutex_);
    add_folder_unlocked(path);
}

void file_tree::add_file(const std::string& path, const std::string& content)
{
    const std::lock_guard lock(mutex_);
    add_folder_unlocked(parent(path));
    entries_.insert_or_assign(path, entry{false, content});
}

bool file_tree::write(const std::string& path, const std::string& content)
{
    const std::lock_guard lock(mutex_);
    if (is_folder_unlocked(path) || !is_folder_unlocked(parent(path)))
        return false;
    entries_.insert_or_assign(path, entry{false, content});
    changed_.notify_all();
    return true;
}

bool file_tree::make_folder(const std::string& path)
{
    const std::lock_guard lock(mutex_);
    return is_folder_unlocked(parent(path)) && entries_.try_emplace(path, entry{true, {}}).second;
}

bool file_tree::remove_folder(const std::string& path)
{
    const std::lock_guard lock(mutex_);
    return path != "/" && is_folder_unlocked(path) && is_empty_unlocked(path) &&
           entries_.erase(path) == 1;
}

bool file_tree::remove_file(const std::string& path)
{
    const std::lock_guard lock(mutex_);
    const auto* found = find(path);
    return found && !found->is_folder && entries_.erase(path) == 1;
}

bool file_tree::rename(const std::string& from, const std::string& to)
{
    const std::lock_guard lock(mutex_);
    const auto* source = find(from);
    if (!source || from == "/" || find(to) || to.starts_with(below(from)) ||
        !is_folder_unlocked(parent(to)))
        return false;
    std::map<std::string, entry> moved;
    for (auto next = entries_.begin(); next != entries_.end();) {
        const auto here = next++;
        if (here->first != from && !here->first.starts_with(below(from)))
            continue;
        auto node = entries_.extract(here);
        node.key().replace(0, from.size(), to);
        moved.insert(std::move(node));
    }
    entries_.merge(moved);
    return true;
}

const file_tree::entry* file_tree::find(const std::string& path) const
{
    const auto found = entries_.find(path);
    return found == entries_.end() ? nullptr : &found->second;
}

std::optional<std::string> file_tree::read_unlocked(const std::string& path) const
{
    const auto* found = find(path);
    if (!found || found->is_folder)
        return std::nullopt;
    return found->content;
}

bool file_tree::is_folder_unlocked(const std::string& path) const
{
    const auto* found = find(path);
    return found && found->is_folder;
}

bool file_tree::is_empty_unlocked(const std::string& folder) const
{
    const auto first = entries_.upper_bound(below(folder));
    return first == entries_.end() || !first->first.starts_with(below(folder));
}

void file_tree::add_folder_unlocked(const std::string& path)
{
    for (auto end = path.find('/', 1);; end = path.find('/', end + 1)) {
        entries_.try_emplace(path.substr(0, end), entry{true, {}});
        if (end == std::string::npos)
            return;
    }
}

} // namespace tarnix::test
