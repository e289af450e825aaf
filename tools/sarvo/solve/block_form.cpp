// Maximum transversal and strong components, both by searches in depth without recursion.
#include "solve/block_form.h"

#include <algorithm>

namespace command {
namespace {

size_t at(int64_t i) { return static_cast<size_t>(i); }

// Searches paths that lead from a free row, alternately by an entry to a column and by its match to a row, to a free
// column. Exchanging the matches along the path gives one more.
class Matching {
public:
    explicit Matching(const Pattern &A)
        : A_(A), row_of_(at(A.count), -1), cheap_(A.start), next_(at(A.count)), seen_(at(A.count), -1) {}

    std::vector<int32_t> run() {
        std::vector<bool> placed(at(A_.count));
        for (int32_t i = 0; i < A_.count; i++)
            if (std::binary_search(A_.index.begin() + A_.begin(i), A_.index.begin() + A_.end(i), i)) {
                row_of_[at(i)] = i;
                placed[at(i)] = true;
            }
        for (int32_t i = 0; i < A_.count; i++)
            if (!placed[at(i)]) augment(i);
        return row_of_;
    }

private:
    // A free column of row i, -1 for none. What was seen to be taken stays taken: each entry is looked at once.
    int32_t free_column(int32_t i) {
        for (int64_t &p = cheap_[at(i)]; p < A_.end(i); p++)
            if (row_of_[at(A_.index[at(p)])] < 0) return A_.index[at(p)];
        return -1;
    }

    void augment(int32_t root) {
        path_.assign(1, root);
        through_.clear();
        seen_[at(root)] = root;
        next_[at(root)] = A_.begin(root);
        while (!path_.empty()) {
            const int32_t i = path_.back();
            if (const int32_t j = free_column(i); j >= 0) {
                through_.push_back(j);
                for (size_t k = 0; k < path_.size(); k++) row_of_[at(through_[k])] = path_[k];
                return;
            }
            if (!descend(i, root)) {
                path_.pop_back();
                if (!through_.empty()) through_.pop_back();
            }
        }
    }

    // To the next row that was not seen yet; false when there is none.
    bool descend(int32_t i, int32_t root) {
        for (int64_t &p = next_[at(i)]; p < A_.end(i);) {
            const int32_t j = A_.index[at(p++)], row = row_of_[at(j)];
            if (seen_[at(row)] == root) continue;
            seen_[at(row)] = root;
            next_[at(row)] = A_.begin(row);
            path_.push_back(row);
            through_.push_back(j);
            return true;
        }
        return false;
    }

    const Pattern &A_;
    std::vector<int32_t> row_of_;
    std::vector<int64_t> cheap_, next_; // where the search for a free column, and the way on, continue in a row
    std::vector<int32_t> seen_;         // the last root that reached a row
    std::vector<int32_t> path_, through_;
};

// Node j of the graph is column j with its row; an edge leads to each column that the row stores. Components come out
// so that those which they lead to are before them.
class Components {
public:
    Components(const Pattern &A, const std::vector<int32_t> &row_of)
        : A_(A), row_of_(row_of), number_(at(A.count), -1), low_(at(A.count)), next_(at(A.count)) {}

    std::vector<std::vector<int32_t>> run() {
        for (int32_t j = 0; j < A_.count; j++)
            if (number_[at(j)] < 0) search(j);
        return std::move(found_);
    }

private:
    void enter(int32_t j) {
        number_[at(j)] = low_[at(j)] = count_++;
        next_[at(j)] = A_.begin(row_of_[at(j)]);
        way_.push_back(j);
        open_.push_back(j);
    }

    void search(int32_t root) {
        for (enter(root); !way_.empty();) {
            const int32_t j = way_.back();
            if (step(j)) continue;
            way_.pop_back();
            if (!way_.empty()) low_[at(way_.back())] = std::min(low_[at(way_.back())], low_[at(j)]);
            if (low_[at(j)] == number_[at(j)]) close(j);
        }
    }

    // One node further; false when all edges of j are done.
    bool step(int32_t j) {
        const int64_t end = A_.end(row_of_[at(j)]);
        for (int64_t &p = next_[at(j)]; p < end;) {
            const int32_t k = A_.index[at(p++)];
            if (number_[at(k)] < 0) return enter(k), true;
            low_[at(j)] = std::min(low_[at(j)], number_[at(k)]); // closed ones have the largest number
        }
        return false;
    }

    void close(int32_t j) {
        found_.emplace_back();
        for (int32_t k = -1; k != j;) {
            k = open_.back();
            open_.pop_back();
            number_[at(k)] = INT32_MAX;
            found_.back().push_back(k);
        }
        std::sort(found_.back().begin(), found_.back().end());
    }

    const Pattern &A_;
    const std::vector<int32_t> &row_of_;
    std::vector<int32_t> number_, low_;
    std::vector<int64_t> next_;
    std::vector<int32_t> way_, open_;
    std::vector<std::vector<int32_t>> found_;
    int32_t count_ = 0;
};

} // namespace

std::vector<int32_t> maximum_transversal(const Pattern &A) { return Matching(A).run(); }

BlockForm block_form(const Pattern &A, const std::vector<int32_t> &row_of) {
    BlockForm form;
    auto components = Components(A, row_of).run();
    std::reverse(components.begin(), components.end()); // edges lead to blocks behind: upper triangular
    for (const auto &component : components) {
        form.first.push_back(static_cast<int32_t>(form.cols.size()));
        for (const int32_t j : component) {
            form.cols.push_back(j);
            form.rows.push_back(row_of[at(j)]);
        }
    }
    form.first.push_back(A.count);
    return form;
}

} // namespace command
