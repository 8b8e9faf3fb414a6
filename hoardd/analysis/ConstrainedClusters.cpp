#include "hoardd/analysis/ConstrainedClusters.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <numeric>
#include <optional>
#include <tuple>

namespace wickerlane::hoardd {

namespace {

/// Splits one cluster: beginning with single items, those that are most alike are merged first, unless that
/// brings together two that can't be linked. Members are numbered in the order of their keys.
class ClusterSplit {
public:
    ClusterSplit(std::span<const DuplicateItem> all, Likeness wanted, const Cluster &cluster)
        : items(all), likeness(wanted), members(cluster), parts(cluster.size()), partOf(cluster.size()),
          cannotLink(cluster.size()) {
        std::ranges::sort(members, {}, [&](std::size_t i) { return items[i].key; });
        for (std::size_t i = 0; i < members.size(); ++i)
            parts[i].assign(1, i);
        std::iota(partOf.begin(), partOf.end(), 0);
    }

    /// Both keys are those of members.
    void keepApart(const CannotLink &constraint) {
        const std::size_t one = memberWithKey(constraint.first), other = memberWithKey(constraint.second);
        cannotLink[one].push_back(other);
        cannotLink[other].push_back(one);
    }

    /// The parts that have several members, by the index of the items.
    [[nodiscard]] std::vector<Cluster> split() {
        for (const Link &link : linksByDistance())
            merge(partOf[link.one], partOf[link.other]);
        std::vector<Cluster> clusters;
        for (const Cluster &part : parts)
            if (part.size() > 1) {
                Cluster &cluster = clusters.emplace_back();
                for (const std::size_t member : part)
                    cluster.push_back(members[member]);
            }
        return clusters;
    }

private:
    /// Two members that are alike.
    struct Link {
        int distance;
        std::size_t one, other;
    };

    [[nodiscard]] std::size_t memberWithKey(std::int64_t key) const {
        const auto found =
            std::ranges::lower_bound(members, key, {}, [&](std::size_t i) { return items[i].key; });
        return static_cast<std::size_t>(found - members.begin());
    }

    /// Links of one distance are in the order of keys, so that the outcome doesn't depend on that of the
    /// items.
    [[nodiscard]] std::vector<Link> linksByDistance() const {
        std::vector<Link> links;
        for (std::size_t i = 0; i < members.size(); ++i)
            for (std::size_t j = i + 1; j < members.size(); ++j)
                if (likenessOf(items[members[i]], items[members[j]]) == likeness)
                    links.push_back({distanceOf(items[members[i]], items[members[j]]), i, j});
        std::ranges::sort(links, [](const Link &a, const Link &b) {
            return std::tie(a.distance, a.one, a.other) < std::tie(b.distance, b.one, b.other);
        });
        return links;
    }

    void merge(std::size_t into, std::size_t from) {
        if (into == from)
            return;
        if (parts[into].size() < parts[from].size())
            std::swap(into, from);
        for (const std::size_t member : parts[from])
            for (const std::size_t other : cannotLink[member])
                if (partOf[other] == into)
                    return;
        for (const std::size_t member : parts[from])
            partOf[member] = into;
        parts[into].insert(parts[into].end(), parts[from].begin(), parts[from].end());
        parts[from].clear();
    }

    std::span<const DuplicateItem> items;
    Likeness likeness;
    Cluster members;
    std::vector<Cluster> parts; // of members, as all below
    std::vector<std::size_t> partOf;
    std::vector<Cluster> cannotLink;
};

/// The cluster of each asset that a constraint names, by its key. Nothing for one that is in no cluster.
std::map<std::int64_t, std::optional<std::size_t>>
clustersOfConstrained(std::span<const DuplicateItem> items, std::span<const Cluster> clusters,
                      std::span<const CannotLink> constraints) {
    std::map<std::int64_t, std::optional<std::size_t>> clusterOf;
    for (const auto &[one, other] : constraints)
        clusterOf[one] = clusterOf[other] = std::nullopt;
    for (std::size_t i = 0; i < clusters.size(); ++i)
        for (const std::size_t item : clusters[i])
            if (const auto found = clusterOf.find(items[item].key); found != clusterOf.end())
                found->second = i;
    return clusterOf;
}

} // namespace

std::vector<Cluster> splitByConstraints(std::span<const DuplicateItem> items, Likeness likeness,
                                        std::vector<Cluster> clusters,
                                        std::span<const CannotLink> constraints) {
    auto clusterOf = clustersOfConstrained(items, clusters, constraints);
    std::map<std::size_t, ClusterSplit> splits;
    for (const CannotLink &constraint : constraints) {
        const auto cluster = clusterOf[constraint.first];
        if (cluster && cluster == clusterOf[constraint.second])
            splits.try_emplace(*cluster, items, likeness, clusters[*cluster])
                .first->second.keepApart(constraint);
    }
    for (auto &[cluster, split] : splits) {
        std::vector<Cluster> parts = split.split();
        clusters[cluster].clear();
        std::ranges::move(parts, std::back_inserter(clusters));
    }
    std::erase_if(clusters, [](const Cluster &each) { return each.empty(); });
    return clusters;
}

} // namespace wickerlane::hoardd
