// The scanner beside a plain hand-written tokenizer over std::string_view,
// both splitting the same large generated script into the same tokens, in
// MB/s and tokens/s, with the ratio of their times at the end.
#include <baseobj/lex.h>
#include <baseobj/token.h>

#include "ratio.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace {

constexpr double kMinTime = 1.0;
constexpr std::size_t kInputSize = 4u << 20;

// A script of the language, made the same way on every run.
std::string MakeInput() {
    static char const* const kWords[] = {"for",     "while",   "if",      "print",     "local",
                                         "result",  "value_1", "width",   "GetObject", "x",
                                         "counter", "else",    "Heater2", "return",    "names"};
    static char const* const kPunct[] = {"(", ")", "{", "}", ";", ",", "=",  "+", "*",
                                         "<", ">", "[", "]", "/", ":", "->", "%s"};
    std::uint32_t seed = 12345;
    auto next = [&seed](std::uint32_t n) {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 16) % n;
    };
    std::string text;
    text.reserve(kInputSize + 256);
    while (text.size() < kInputSize) {
        text += std::string(next(3) * 4, ' ');
        for (std::uint32_t n = 2 + next(10); n > 0; --n) {
            switch (next(8)) {
            case 0:
            case 1:
            case 2:
                text += kWords[next(15)];
                break;
            case 3:
                text += std::to_string(next(100000));
                break;
            case 4:
                text += std::to_string(next(1000)) + "." + std::to_string(next(1000));
                if (next(4) == 0) text += "e-" + std::to_string(next(20));
                break;
            case 5:
                text += "\"text " + std::to_string(next(1000)) + " here\"";
                break;
            default:
                text += kPunct[next(17)];
            }
            text += next(3) == 0 ? "\t" : " ";
        }
        if (next(6) == 0) text += next(2) == 0 ? "// a note on this line" : "/* a short block */";
        text += "\n";
    }
    return text;
}

std::string const& Input() {
    static std::string const input = MakeInput();
    return input;
}

std::size_t ScanOurs(std::string const& input) {
    Scanner scn;
    scn._set_pcBuffer(input.c_str());
    std::size_t nTokens = 0;
    while (std::unique_ptr<Token> ptok{scn.GetTokenPtr()}) {
        benchmark::DoNotOptimize(ptok->_get_nDataType());
        ++nTokens;
    }
    return nTokens;
}

// The usual alternative: views into the text and numbers by from_chars,
// with the same rules for where a token ends.
struct Piece {
    enum Kind { kWord, kString, kInteger, kReal, kPunct, kComment } kind;
    std::string_view text;
    long long integer = 0;
    double real = 0;
};

bool IsAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

class ViewTokenizer {
public:
    explicit ViewTokenizer(std::string_view text) : text_(text) {}

    bool Next(Piece& piece) {
        while (pos_ < text_.size() &&
               (text_[pos_] == ' ' || (text_[pos_] >= '\t' && text_[pos_] <= '\r')))
            ++pos_;
        if (pos_ >= text_.size()) return false;
        std::size_t const start = pos_;
        char const c = text_[pos_];
        if (c == '"') {
            pos_ = text_.find('"', pos_ + 1) + 1;
            piece = {Piece::kString, text_.substr(start, pos_ - start)};
        } else if (IsAlpha(c)) {
            while (pos_ < text_.size() &&
                   (IsAlpha(text_[pos_]) || IsDigit(text_[pos_]) || text_[pos_] == '_'))
                ++pos_;
            piece = {Piece::kWord, text_.substr(start, pos_ - start)};
        } else if (IsDigit(c) ||
                   (c == '-' && pos_ + 1 < text_.size() && IsDigit(text_[pos_ + 1]))) {
            Number(piece);
        } else if (c == '/' && pos_ + 1 < text_.size() &&
                   (text_[pos_ + 1] == '/' || text_[pos_ + 1] == '*')) {
            pos_ = text_[pos_ + 1] == '/' ? text_.find('\n', pos_) : text_.find("*/", pos_) + 2;
            piece = {Piece::kComment, text_.substr(start, pos_ - start)};
        } else {
            pos_ += c == '%' && pos_ + 1 < text_.size() && text_[pos_ + 1] == 's' ? 2 : 1;
            piece = {Piece::kPunct, text_.substr(start, pos_ - start)};
        }
        return true;
    }

private:
    void Number(Piece& piece) {
        std::size_t const start = pos_;
        if (text_[pos_] == '-') ++pos_;
        while (pos_ < text_.size() && IsDigit(text_[pos_]))
            ++pos_;
        bool real = false;
        if (pos_ < text_.size() && text_[pos_] == '.') {
            real = true;
            ++pos_;
            while (pos_ < text_.size() && IsDigit(text_[pos_]))
                ++pos_;
        }
        if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
            ++pos_;
            if (pos_ < text_.size() && (text_[pos_] == '-' || text_[pos_] == '+')) ++pos_;
            while (pos_ < text_.size() && IsDigit(text_[pos_]))
                ++pos_;
        }
        piece.text = text_.substr(start, pos_ - start);
        char const* const first = piece.text.data();
        char const* const last = first + piece.text.size();
        if (real) {
            piece.kind = Piece::kReal;
            std::from_chars(first, last, piece.real);
        } else {
            piece.kind = Piece::kInteger;
            std::from_chars(first, last, piece.integer);
        }
    }

    std::string_view text_;
    std::size_t pos_ = 0;
};

std::size_t ScanViews(std::string const& input) {
    ViewTokenizer tokenizer(input);
    Piece piece{};
    std::size_t nTokens = 0;
    while (tokenizer.Next(piece)) {
        benchmark::DoNotOptimize(piece);
        ++nTokens;
    }
    return nTokens;
}

template <std::size_t (*Scan)(std::string const&)> void Throughput(benchmark::State& state) {
    std::string const& input = Input();
    std::size_t nTokens = 0;
    for (auto _ : state)
        nTokens = Scan(input);
    // The two must do the same split to be worth comparing.
    if (nTokens != ScanViews(input) || nTokens != ScanOurs(input))
        state.SkipWithError("the two tokenizers split the input differently");
    auto const nRuns = static_cast<double>(state.iterations());
    state.counters["MB/s"] = benchmark::Counter(nRuns * static_cast<double>(input.size()) / 1e6,
                                                benchmark::Counter::kIsRate);
    state.counters["tokens/s"] =
        benchmark::Counter(nRuns * static_cast<double>(nTokens), benchmark::Counter::kIsRate);
    state.counters["tokens"] = static_cast<double>(nTokens);
}

} // namespace

int main(int argc, char** argv) {
    ratio::RegisterPair("scan/4MB", "string_view", kMinTime, Throughput<ScanOurs>,
                        Throughput<ScanViews>);
    return ratio::RunAndReport(argc, argv);
}
