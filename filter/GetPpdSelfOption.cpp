// Job settings read from the PPD file: option codes through the CUPS PPD
// interface, and main keywords through a line reader that keeps the PPD
// syntax rules of the CUPS PPD reader.
#include "GetPpdSelfOption.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include <cups/file.h>

namespace {

// Sizes of the PPD syntax; the CUPS PPD header names the ones it knows.
constexpr size_t kLineBufferStep = 1024;                    // the line buffer starts at, and grows by, 1 KiB
constexpr size_t kMaxLineBuffer = 262144;                   // a logical line never gets more than 256 KiB
constexpr int kMaxPhysicalColumns = PPD_MAX_LINE - 1;       // 255 characters
constexpr size_t kMaxKeywordLength = PPD_MAX_NAME - 1;      // 40 characters
constexpr size_t kMaxTranslationLength = PPD_MAX_LINE - 1;  // 255 raw characters
constexpr size_t kMaxStrictTranslation = PPD_MAX_TEXT;      // 81 decoded bytes

constexpr int kCtrlZ = 0x1a;           // DOS end-of-file marker, ignored everywhere
constexpr int kFirstControl = 0x20;    // bytes below the space are control characters
constexpr int kDelete = 0x7f;          // and so is DEL, just above "~"
constexpr int kFirstPrintable = 0x21;  // "!": printable ASCII without the space
constexpr int kLastPrintable = 0x7e;   // "~"
constexpr int kDecimalBase = 10;
constexpr int kHexRadix = 16;
constexpr int kHexDigitsPerByte = 2;
constexpr int kFirstHexLetterValue = 10;  // "a" and "A" stand for ten

const char kWorksetStart[] = "*%APLWORKSET START";
const char kCommentStart[] = "*%";
const char kEndKeyword[] = "End";

// ppdLastError keeps its status per thread; so does this reader.
thread_local ppd_status_t tLastStatus = PPD_OK;
thread_local int tLastLine = 0;

// Records the outcome that GetPpdKeywordLastError reports.
void SetLastError(ppd_status_t status, int line)
{
    tLastStatus = status;
    tLastLine = line;
}

// Returns true for a control character other than tab (line ends included).
bool IsIllegalControl(int ch)
{
    return (ch < kFirstControl && ch != '\t') || ch == kDelete;
}

// Returns true for the characters that keywords may hold.
bool IsPrintable(int ch)
{
    return ch >= kFirstPrintable && ch <= kLastPrintable;
}

// Returns the value of a hexadecimal digit, or -1 for any other character.
int HexValue(int ch)
{
    if (ch >= '0' && ch <= '9')
        return ch - '0';
    if (ch >= 'a' && ch <= 'f')
        return ch - 'a' + kFirstHexLetterValue;
    if (ch >= 'A' && ch <= 'F')
        return ch - 'A' + kFirstHexLetterValue;
    return -1;
}

// Returns true when `text` begins with `prefix`.
bool StartsWith(const std::string& text, const char* prefix)
{
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

// Owns an open PPD file and closes it on every way out of the search.
class CupsFile {
public:
    // Opens `path` for reading; a null path leaves the holder empty.
    explicit CupsFile(const char* path) : file_(path != nullptr ? cupsFileOpen(path, "r") : nullptr) {}
    ~CupsFile()
    {
        if (file_ != nullptr)
            cupsFileClose(file_);
    }
    CupsFile(const CupsFile&) = delete;
    CupsFile& operator=(const CupsFile&) = delete;

    // Returns the open file, or null when it could not be opened.
    cups_file_t* get() const { return file_; }

private:
    cups_file_t* file_;
};

// Process-lifetime store of the returned values: one copy of each distinct
// text, so callers may keep the pointers and never free them. Nodes come
// from malloc so that a failed allocation is a null, not an exception.
class StringPool {
public:
    StringPool() = default;
    StringPool(const StringPool&) = delete;
    StringPool& operator=(const StringPool&) = delete;
    ~StringPool()
    {
        while (head_ != nullptr) {
            Node* next = head_->next;
            std::free(head_);
            head_ = next;
        }
    }

    // Returns the pooled copy of `text` (shared with an equal earlier text),
    // or null when memory runs out.
    const char* Intern(const char* text)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (Node* node = head_; node != nullptr; node = node->next) {
            if (std::strcmp(node->Text(), text) == 0)
                return node->Text();
        }
        const size_t length = std::strlen(text);
        void* memory = std::malloc(sizeof(Node) + length + 1);
        if (memory == nullptr)
            return nullptr;
        Node* node = static_cast<Node*>(memory);
        node->next = head_;
        std::memcpy(node->Text(), text, length + 1);
        head_ = node;
        return node->Text();
    }

private:
    // One pooled text; its characters follow the node in the same block.
    struct Node {
        Node* next;
        char* Text() { return reinterpret_cast<char*>(this + 1); }
    };

    std::mutex mutex_;
    Node* head_ = nullptr;
};

// Returns the one pool of this process.
StringPool& Pool()
{
    static StringPool pool;
    return pool;
}

// Outcome of reading one logical line.
enum class ReadOutcome { kLine, kEndOfFile, kFailed };

// Cuts a PPD file into logical lines: quoted values run across physical
// lines (their line ends stored as LF), Ctrl-Z is dropped, and the line
// length rules are enforced.
class PpdLineReader {
public:
    PpdLineReader(cups_file_t* file, bool strict) : file_(file), strict_(strict), buffer_(kLineBufferStep) {}

    // Reads the next logical line; kFailed leaves the cause in status().
    ReadOutcome Next();

    // Returns the logical line that Next read last.
    std::string Line() const { return std::string(buffer_.data(), length_); }

    // Returns the first physical line (counted from 1) of the last logical line.
    int FirstLine() const { return firstLine_; }

    // Returns the status of the failed read.
    ppd_status_t Status() const { return status_; }

private:
    ReadOutcome Fail(ppd_status_t status);
    ReadOutcome Finish();
    bool Append(int ch);
    void EndPhysicalLine(int ch);
    ReadOutcome DropRestOfLine();
    bool IsCommentLine() const;

    cups_file_t* file_;
    bool strict_;
    std::vector<char> buffer_;
    size_t length_ = 0;
    int lineCount_ = 0;  // line ends read so far
    int firstLine_ = 0;
    int column_ = 0;  // characters outside quoted values on this physical line
    ppd_status_t status_ = PPD_OK;
};

// Returns true when the line read so far starts with "*%".
bool PpdLineReader::IsCommentLine() const
{
    return length_ >= 2 && buffer_[0] == kCommentStart[0] && buffer_[1] == kCommentStart[1];
}

// Returns kFailed after recording why.
ReadOutcome PpdLineReader::Fail(ppd_status_t status)
{
    status_ = status;
    return ReadOutcome::kFailed;
}

// Returns kLine after dropping the line's final LF and terminating it.
ReadOutcome PpdLineReader::Finish()
{
    if (length_ > 0 && buffer_[length_ - 1] == '\n')
        --length_;
    buffer_[length_] = '\0';
    return ReadOutcome::kLine;
}

// Stores one byte; returns false when the buffer would have to grow past
// its limit. One byte always stays free for the terminating NUL, so the
// longest logical line is one byte short of the limit.
bool PpdLineReader::Append(int ch)
{
    if (length_ + 1 >= buffer_.size()) {
        const size_t grown = buffer_.size() + kLineBufferStep;
        if (grown > kMaxLineBuffer)
            return false;
        buffer_.resize(grown);
    }
    buffer_[length_++] = static_cast<char>(ch);
    return true;
}

// Counts a line end (LF, CR or CR LF) that `ch` starts and swallows the LF
// of a CR LF pair.
void PpdLineReader::EndPhysicalLine(int ch)
{
    if (ch == '\r' && cupsFilePeekChar(file_) == '\n')
        cupsFileGetChar(file_);
    ++lineCount_;
    column_ = 0;
}

// Reads and drops the rest of the physical line after a closing quote; the
// dropped characters still count towards the line's length.
ReadOutcome PpdLineReader::DropRestOfLine()
{
    int ch;
    while ((ch = cupsFileGetChar(file_)) != EOF) {
        if (ch == '\r' || ch == '\n') {
            EndPhysicalLine(ch);
            break;
        }
        if (ch == kCtrlZ)
            continue;
        if (strict_ && IsIllegalControl(ch))
            return Fail(PPD_ILLEGAL_CHARACTER);
        if (++column_ > kMaxPhysicalColumns)
            return Fail(PPD_LINE_TOO_LONG);
    }
    return Finish();
}

// Returns kLine with the next logical line in the buffer, kEndOfFile when
// no character was left, or kFailed (line too long, or in strict mode an
// illegal control character).
ReadOutcome PpdLineReader::Next()
{
    length_ = 0;
    firstLine_ = lineCount_ + 1;
    column_ = 0;
    bool sawInput = false;
    bool afterColon = false;  // a quote opens a value only after the colon
    bool inQuote = false;
    int ch;
    while ((ch = cupsFileGetChar(file_)) != EOF) {
        sawInput = true;
        if (ch == '\r' || ch == '\n') {
            EndPhysicalLine(ch);
            if (!inQuote)
                return Finish();
            if (!Append('\n'))
                return Fail(PPD_LINE_TOO_LONG);
            continue;
        }
        if (ch == kCtrlZ)
            continue;
        if (strict_ && IsIllegalControl(ch))
            return Fail(PPD_ILLEGAL_CHARACTER);
        if (!inQuote && ++column_ > kMaxPhysicalColumns)
            return Fail(PPD_LINE_TOO_LONG);
        if (!Append(ch))
            return Fail(PPD_LINE_TOO_LONG);
        if (ch == ':' && !IsCommentLine())
            afterColon = true;
        if (ch == '"' && afterColon) {
            inQuote = !inQuote;
            if (!inQuote)
                return DropRestOfLine();
        }
    }
    return sawInput ? Finish() : ReadOutcome::kEndOfFile;
}

// Walks one logical line from its main keyword to its value.
class PpdLineParser {
public:
    PpdLineParser(const std::string& line, bool strict) : line_(line), strict_(strict) {}

    // Returns what the line means to a search for `keyword`.
    PpdLineResult Parse(const char* keyword);

private:
    static PpdLineResult Outcome(PpdLineKind kind, ppd_status_t status = PPD_OK);
    PpdLineResult ParseStatement(const char* keyword);
    ppd_status_t MainKeyword();
    ppd_status_t OptionPart();
    ppd_status_t OptionKeyword();
    ppd_status_t Translation();
    std::string Value();
    bool At(char ch) const { return pos_ < line_.size() && line_[pos_] == ch; }
    bool AtSpace() const;
    void SkipSpace();

    const std::string& line_;
    bool strict_;
    size_t pos_ = 1;  // just after the leading "*"
    std::string mainKeyword_;
};

// Returns a result of `kind`, failing with `status` when kind is kFail.
PpdLineResult PpdLineParser::Outcome(PpdLineKind kind, ppd_status_t status)
{
    PpdLineResult result;
    result.kind = kind;
    result.status = status;
    return result;
}

// Returns true when the parser stands on white space.
bool PpdLineParser::AtSpace() const
{
    return pos_ < line_.size() && _cups_isspace(static_cast<unsigned char>(line_[pos_]));
}

// Moves past any white space.
void PpdLineParser::SkipSpace()
{
    while (AtSpace())
        ++pos_;
}

// Reads the main keyword up to white space or ":"; returns PPD_OK or
// PPD_ILLEGAL_MAIN_KEYWORD for a character outside "!".."~", a "/", or more
// than 40 characters.
ppd_status_t PpdLineParser::MainKeyword()
{
    while (pos_ < line_.size() && !At(':') && !AtSpace()) {
        const int ch = static_cast<unsigned char>(line_[pos_]);
        if (!IsPrintable(ch) || ch == '/' || mainKeyword_.size() >= kMaxKeywordLength) {
            return PPD_ILLEGAL_MAIN_KEYWORD;
        }
        mainKeyword_.push_back(static_cast<char>(ch));
        ++pos_;
    }
    return PPD_OK;
}

// Reads the option keyword up to "/", ":" or white space; returns PPD_OK or
// PPD_ILLEGAL_OPTION_KEYWORD for a character outside "!".."~" or more than
// 40 characters. Only its length matters to a keyword search.
ppd_status_t PpdLineParser::OptionKeyword()
{
    size_t length = 0;
    while (pos_ < line_.size() && !At('/') && !At(':') && !AtSpace()) {
        if (!IsPrintable(static_cast<unsigned char>(line_[pos_])) || length >= kMaxKeywordLength) {
            return PPD_ILLEGAL_OPTION_KEYWORD;
        }
        ++length;
        ++pos_;
    }
    return PPD_OK;
}

// Reads the translation after "/" up to ":" or the end of the line; returns
// PPD_OK or PPD_ILLEGAL_TRANSLATION for a control character (tab allowed),
// more than 255 characters, or in strict mode more than 81 decoded bytes.
ppd_status_t PpdLineParser::Translation()
{
    ++pos_;  // the "/"
    std::string text;
    while (pos_ < line_.size() && !At(':')) {
        const int ch = static_cast<unsigned char>(line_[pos_]);
        if (IsIllegalControl(ch) || text.size() >= kMaxTranslationLength) {
            return PPD_ILLEGAL_TRANSLATION;
        }
        text.push_back(static_cast<char>(ch));
        ++pos_;
    }
    if (strict_ && DecodePpdTranslation(text).size() > kMaxStrictTranslation) {
        return PPD_ILLEGAL_TRANSLATION;
    }
    return PPD_OK;
}

// Reads what white space after the main keyword introduces: an option
// keyword and a translation. In strict mode white space may neither follow
// the option keyword nor stand right before the colon.
ppd_status_t PpdLineParser::OptionPart()
{
    SkipSpace();
    if (At(':'))
        return strict_ ? PPD_ILLEGAL_WHITESPACE : PPD_OK;
    const ppd_status_t status = OptionKeyword();
    if (status != PPD_OK)
        return status;
    if (strict_ && AtSpace())
        return PPD_ILLEGAL_WHITESPACE;
    SkipSpace();
    return At('/') ? Translation() : PPD_OK;
}

// Returns the text after the colon: leading spaces and tabs skipped,
// trailing white space stripped, and when it then ends in a double quote,
// that quote and the first character (the opening quote) dropped.
std::string PpdLineParser::Value()
{
    ++pos_;  // the ":"
    while (At(' ') || At('\t'))
        ++pos_;
    std::string value = line_.substr(pos_);
    while (!value.empty() && _cups_isspace(static_cast<unsigned char>(value.back()))) {
        value.pop_back();
    }
    if (!value.empty() && value.back() == '"') {
        value.pop_back();
        if (!value.empty())
            value.erase(0, 1);
    }
    return value;
}

// Returns the meaning of a line that starts with "*" followed by more.
PpdLineResult PpdLineParser::ParseStatement(const char* keyword)
{
    ppd_status_t status = MainKeyword();
    if (status != PPD_OK)
        return Outcome(PpdLineKind::kFail, status);
    if (mainKeyword_ == kEndKeyword)
        return Outcome(PpdLineKind::kSkip);
    if (AtSpace()) {
        status = OptionPart();
        if (status != PPD_OK)
            return Outcome(PpdLineKind::kFail, status);
    }
    if (!At(':'))
        return Outcome(PpdLineKind::kSkip);  // no value
    PpdLineResult result = Outcome(PpdLineKind::kSkip);
    std::string value = Value();
    if (keyword != nullptr && mainKeyword_ == keyword) {
        result.kind = PpdLineKind::kMatch;
        result.value = std::move(value);
    }
    return result;
}

// Returns the meaning of the whole line: the workset marker stops the
// search, comments and blank lines are skipped, and a line must start with
// "*" unless it is all white space.
PpdLineResult PpdLineParser::Parse(const char* keyword)
{
    if (line_ == kWorksetStart)
        return Outcome(PpdLineKind::kStop);
    // The line "*End" needs no test of its own: its main keyword is "End".
    if (line_.empty() || StartsWith(line_, kCommentStart)) {
        return Outcome(PpdLineKind::kSkip);
    }
    if (line_ == "*") {
        return strict_ ? Outcome(PpdLineKind::kFail, PPD_ILLEGAL_MAIN_KEYWORD) : Outcome(PpdLineKind::kSkip);
    }
    if (line_[0] != '*') {
        for (const char ch : line_) {
            if (!_cups_isspace(static_cast<unsigned char>(ch))) {
                return Outcome(PpdLineKind::kFail, PPD_MISSING_ASTERISK);
            }
        }
        return Outcome(PpdLineKind::kSkip);
    }
    return ParseStatement(keyword);
}

// Returns the value of the next logical line that holds `keyword`, or null
// at the end of the file, at the workset marker or on a syntax failure.
const char* SearchKeyword(PpdLineReader& reader, const char* keyword, ppd_conform_t conformance)
{
    for (;;) {
        const ReadOutcome read = reader.Next();
        if (read == ReadOutcome::kEndOfFile)
            return nullptr;
        if (read == ReadOutcome::kFailed) {
            SetLastError(reader.Status(), reader.FirstLine());
            return nullptr;
        }
        const PpdLineResult line = ParsePpdLine(reader.Line(), keyword, conformance);
        switch (line.kind) {
        case PpdLineKind::kStop:
            return nullptr;
        case PpdLineKind::kFail:
            SetLastError(line.status, reader.FirstLine());
            return nullptr;
        case PpdLineKind::kMatch:
            // Callers get a C string, so a NUL byte in the value ends it. A
            // value the pool cannot hold makes the line count as skipped.
            if (const char* pooled = Pool().Intern(line.value.c_str()))
                return pooled;
            break;
        case PpdLineKind::kSkip:
            break;
        }
    }
}

// Decodes the hex digits of a run that starts at `i` (just after "<") into
// `out`; returns the position after the closing ">" (or the text's end).
size_t DecodeHexRun(const std::string& text, size_t i, std::string& out)
{
    int byte = 0;
    int digits = 0;
    for (; i < text.size() && text[i] != '>'; ++i) {
        const int digit = HexValue(static_cast<unsigned char>(text[i]));
        if (digit < 0)
            continue;  // spaces and stray characters inside a run
        byte = byte * kHexRadix + digit;
        if (++digits == kHexDigitsPerByte) {
            out.push_back(static_cast<char>(byte));
            byte = 0;
            digits = 0;
        }
    }
    // As in PostScript hex strings, a lone last digit is followed by a zero.
    if (digits != 0)
        out.push_back(static_cast<char>(byte * kHexRadix));
    return i < text.size() ? i + 1 : i;
}

}  // namespace

// Returns the marked choice's code, else the default choice's code, else null.
const char* GetOptionChoiceCode(const char* keyword, ppd_file_t* ppd)
{
    if (keyword == nullptr || ppd == nullptr)
        return nullptr;
    if (ppd_choice_t* marked = ppdFindMarkedChoice(ppd, keyword))
        return marked->code;
    ppd_option_t* option = ppdFindOption(ppd, keyword);
    if (option == nullptr)
        return nullptr;
    ppd_choice_t* fallback = ppdFindChoice(option, option->defchoice);
    return fallback != nullptr ? fallback->code : nullptr;
}

// Returns the code's leading decimal number, clamped to 32 bits; -1 without code.
int32_t GetOptionChoiceIndex(const char* keyword, ppd_file_t* ppd)
{
    return ChoiceCodeIndex(GetOptionChoiceCode(keyword, ppd));
}

// Returns the code's leading number in single precision; -1.0 without code.
float GetOptionChoiceIndexf(const char* keyword, ppd_file_t* ppd)
{
    return ChoiceCodeIndexf(GetOptionChoiceCode(keyword, ppd));
}

// The same two from another source of choice codes.
int32_t GetOptionChoiceIndex(const char* keyword, const ChoiceCodes& codes)
{
    return ChoiceCodeIndex(codes.Code(keyword));
}

float GetOptionChoiceIndexf(const char* keyword, const ChoiceCodes& codes)
{
    return ChoiceCodeIndexf(codes.Code(keyword));
}

int32_t ChoiceCodeIndex(const char* code)
{
    if (code == nullptr)
        return -1;
    const long number = std::strtol(code, nullptr, kDecimalBase);
    if (number > INT32_MAX)
        return INT32_MAX;
    if (number < INT32_MIN)
        return INT32_MIN;
    return static_cast<int32_t>(number);
}

float ChoiceCodeIndexf(const char* code)
{
    if (code == nullptr)
        return -1.0f;
    const double number = std::strtod(code, nullptr);
    // Narrowing a double beyond the float range is undefined; say infinity.
    if (number > FLT_MAX)
        return HUGE_VALF;
    if (number < -FLT_MAX)
        return -HUGE_VALF;
    return static_cast<float>(number);
}

// Returns 1 for the six white-space characters of the C locale, else 0.
int _cups_isspace(int ch)
{
    return ch == ' ' || ch == '\t' || ch == '\n' || ch == '\v' || ch == '\f' || ch == '\r';
}

// Returns the pooled value of the first line holding `keyword`, or null;
// every call starts with a clean status.
const char* GetPpdKeywordValue(const char* keyword, ppd_conform_t conformance)
{
    SetLastError(PPD_OK, 0);
    if (keyword == nullptr)
        return nullptr;
    CupsFile file(std::getenv("PPD"));
    if (file.get() == nullptr)
        return nullptr;
    PpdLineReader reader(file.get(), conformance == PPD_CONFORM_STRICT);
    return SearchKeyword(reader, keyword, conformance);
}

// Returns this thread's last status and its line.
ppd_status_t GetPpdKeywordLastError(int* line)
{
    if (line != nullptr)
        *line = tLastLine;
    return tLastStatus;
}

// Returns what one logical line means to a search for `keyword`.
PpdLineResult ParsePpdLine(const std::string& line, const char* keyword, ppd_conform_t conformance)
{
    return PpdLineParser(line, conformance == PPD_CONFORM_STRICT).Parse(keyword);
}

// Returns the translation with each <hex> run turned into its bytes.
std::string DecodePpdTranslation(const std::string& text)
{
    std::string decoded;
    size_t i = 0;
    while (i < text.size()) {
        const bool hexRun =
            text[i] == '<' && i + 1 < text.size() && HexValue(static_cast<unsigned char>(text[i + 1])) >= 0;
        if (hexRun) {
            i = DecodeHexRun(text, i + 1, decoded);
        } else {
            decoded.push_back(text[i++]);
        }
    }
    return decoded;
}
