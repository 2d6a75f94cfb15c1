// A small in-memory graph for the moniker tests: each node holds its
// contained nodes in order, by name, and a number that a bracketed index
// reads. Its internal nodes are the nodes themselves.
#pragma once

#include <baseobj/namedobj.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace navgraph {

class Graph;

class Node final : public Navigable {
public:
    using Navigable::RemoveRelation;
    using Navigable::TraverseRelation;
    struct Edge {
        std::string name;
        Node* pnode;
    };
    Node(Graph* g, std::string label, std::int32_t n) : graph(g), tag(std::move(label)), value(n) {}

    short AddRelation(Navigable* pnav, EdgeSpec* pes) override {
        auto* const pnode = static_cast<Node*>(pnav);
        std::string const name =
            pes->_get_nType() == EdgeSpec::kSelectByName ? pes->_get_szName(nullptr) : pnode->tag;
        edges.push_back({name, pnode});
        return 1;
    }
    short RemoveRelation(Navigable* pnav, EdgeSpec*) override {
        auto const it = std::find_if(edges.begin(), edges.end(),
                                     [&](Edge const& e) { return e.pnode == pnav; });
        if (it == edges.end()) return 0;
        edges.erase(it);
        return 1;
    }
    short RemoveRelation(EdgeSpec* pes) override {
        auto const it = Find(pes);
        if (it == edges.end()) return 0;
        edges.erase(it);
        return 1;
    }
    Navigable* TraverseRelation(EdgeSpec* pes) override {
        auto const it = Find(pes);
        return it != edges.end() ? it->pnode : nullptr;
    }
    short GetRelatedNodeCount(short, char*) override { return static_cast<short>(edges.size()); }
    Navigable* GetFirstRelatedNode(short, char*) override {
        nCursor = 0;
        return GetNextRelatedNode();
    }
    Navigable* GetNextRelatedNode() override {
        return nCursor < edges.size() ? edges[nCursor++].pnode : nullptr;
    }
    Navigable* CreateInstance() override;
    void* GetRoot() override { return static_cast<Navigable*>(this); }
    void* TraverseStep(void* pvNode, EdgeSpec* pes) override {
        return static_cast<Navigable*>(NodeOf(pvNode)->TraverseRelation(pes));
    }
    void* CreateNode(void* pvNode, EdgeSpec* pes) override {
        return static_cast<Navigable*>(NodeOf(pvNode)->CreateRelatedNode(pes));
    }
    void ReleaseNode(void* pvNode) override { released.push_back(NodeOf(pvNode)->tag); }

    static Node* NodeOf(void* pv) { return static_cast<Node*>(static_cast<Navigable*>(pv)); }

    Graph* graph;
    std::string tag;
    std::int32_t value;
    std::vector<Edge> edges;
    std::vector<std::string> released;
    // A node that refuses to make new ones.
    bool bBarren = false;

private:
    std::vector<Edge>::iterator Find(EdgeSpec* pes) {
        if (pes->_get_nType() == EdgeSpec::kSelectByName)
            return std::find_if(edges.begin(), edges.end(),
                                [&](Edge const& e) { return e.name == pes->_get_szName(nullptr); });
        if (pes->_get_nType() == EdgeSpec::kSelectByIndex && pes->_get_nDX() >= 0 &&
            static_cast<std::size_t>(pes->_get_nDX()) < edges.size())
            return edges.begin() + pes->_get_nDX();
        return edges.end();
    }
    std::size_t nCursor = 0;
};

class Graph {
public:
    Node* Make(std::string tag, std::int32_t value = 0) {
        nodes.push_back(std::make_unique<Node>(this, std::move(tag), value));
        return nodes.back().get();
    }
    // A node made under a parent, contained by its tag.
    Node* Add(Node* parent, std::string tag, std::int32_t value = 0) {
        Node* const child = Make(std::move(tag), value);
        parent->edges.push_back({child->tag, child});
        return child;
    }
    std::vector<std::unique_ptr<Node>> nodes;
};

inline Navigable* Node::CreateInstance() {
    return bBarren ? nullptr : graph->Make("new" + std::to_string(graph->nodes.size()));
}

inline std::string Tag(void* pv) {
    return pv != nullptr ? Node::NodeOf(pv)->tag : "null";
}
inline std::string Tag(Navigable* pnav) {
    return Tag(static_cast<void*>(pnav));
}

// The number a bracketed index reads from a node of this graph.
inline std::int32_t ValueOf(Navigable* pnav) {
    return static_cast<Node*>(pnav)->value;
}

// root: a (b, x, y), one = 1, two = 2.
struct Sample {
    Sample() {
        root = graph.Make("root");
        a = graph.Add(root, "a");
        graph.Add(a, "b");
        graph.Add(a, "x");
        graph.Add(a, "y");
        graph.Add(root, "one", 1);
        graph.Add(root, "two", 2);
    }
    Graph graph;
    Node* root;
    Node* a;
};

} // namespace navgraph
