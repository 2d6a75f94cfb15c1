// A small in-memory graph for the navigation and moniker tests: each node
// holds its edges in order, each of one relation, by name, and a number that
// a bracketed index reads. Its internal nodes are the nodes themselves; it
// logs the steps asked of it and the stack depth its cursors open at.
#pragma once

#include <baseobj/namedobj.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace navgraph {

class Graph;

// The deepest and shallowest stack addresses at which cursors were opened.
struct StackSpan {
    std::uintptr_t lo = UINTPTR_MAX, hi = 0;
    void Note() {
        char here = 0;
        auto const a = reinterpret_cast<std::uintptr_t>(&here);
        lo = std::min(lo, a);
        hi = std::max(hi, a);
    }
};
inline StackSpan gSpan;

class Node final : public Navigable {
public:
    using Navigable::RemoveRelation;
    using Navigable::TraverseRelation;
    struct Edge {
        std::string name;
        Node* pnode;
        short nRelation = RT_CONTAINMENT;
        std::int32_t nType = EdgeSpec::kSelectByName;
    };
    Node(Graph* g, std::string label, std::int32_t n) : graph(g), tag(std::move(label)), value(n) {}

    short AddRelation(Navigable* pnav, EdgeSpec* pes) override {
        auto* const pnode = static_cast<Node*>(pnav);
        std::string const name =
            pes->_get_nType() == EdgeSpec::kSelectByName ? pes->_get_szName(nullptr) : pnode->tag;
        edges.push_back({name, pnode, pes->_get_nRelationType(), pes->_get_nType()});
        return 1;
    }
    short RemoveRelation(Navigable* pnav, EdgeSpec* pes) override {
        auto const it = std::find_if(edges.begin(), edges.end(), [&](Edge const& e) {
            return e.pnode == pnav && e.nRelation == pes->_get_nRelationType();
        });
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
        steps.push_back(pes->_get_nType() == EdgeSpec::kSelectByName
                            ? std::string(pes->_get_szName(nullptr))
                            : "#" + std::to_string(pes->_get_nDX()));
        auto const it = Find(pes);
        return it != edges.end() ? it->pnode : nullptr;
    }
    short GetRelatedNodeCount(short nRelation, char*) override {
        return static_cast<short>(std::count_if(
            edges.begin(), edges.end(), [&](Edge const& e) { return e.nRelation == nRelation; }));
    }
    Navigable* GetFirstRelatedNode(short nRelation, char*) override {
        gSpan.Note();
        nCursorRelation = nRelation;
        nCursor = 0;
        return GetNextRelatedNode();
    }
    Navigable* GetNextRelatedNode() override {
        while (nCursor < edges.size()) {
            Edge const& e = edges[nCursor++];
            if (e.nRelation == nCursorRelation) return e.pnode;
        }
        return nullptr;
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
    std::vector<std::string> steps;
    // A node that refuses to make new ones.
    bool bBarren = false;

private:
    // The edge of the step's relation that its name or index selects.
    std::vector<Edge>::iterator Find(EdgeSpec* pes) {
        std::int32_t n = 0;
        for (auto it = edges.begin(); it != edges.end(); ++it) {
            if (it->nRelation != pes->_get_nRelationType()) continue;
            if (pes->_get_nType() == EdgeSpec::kSelectByName ? it->name == pes->_get_szName(nullptr)
                                                             : n == pes->_get_nDX())
                return it;
            ++n;
        }
        return edges.end();
    }
    std::size_t nCursor = 0;
    short nCursorRelation = 0;
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
    // An edge named by the target's tag, as a caller's AddRelation makes it.
    static void Link(Node* from, Node* to) {
        EdgeSpec es;
        es.SetName(to->tag.c_str());
        from->AddRelation(to, &es);
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
