// The logger's configuration text: "[key]" sections holding "name = value"
// lines, read from a file or a string and applied to the loggers.
#include "log4z_manager.h"

#include <cctype>
#include <cstdlib>

namespace {

// The section key that always names logger 0, whatever case the text uses.
const char kMainKey[] = "Main";
const char kMainKeyLower[] = "main";
constexpr int kDecimal = 10;

// Returns text in lower case (ASCII).
std::string lowered(std::string text)
{
    for (char& c : text) {
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

// Returns false for "false" and "0" (already lower case), true for anything else.
bool parseBool(const std::string& value)
{
    return !(value == "false" || value == "0");
}

// Sets level from a level word; returns false, leaving level alone, for an unknown word.
bool parseLevel(const std::string& value, int32_t& level)
{
    static const struct {
        const char* word;
        int32_t level;
    } kLevelWords[] = {{"trace", LOG_TRACE}, {"all", LOG_TRACE},   {"debug", LOG_DEBUG},
                       {"info", LOG_INFO},   {"warn", LOG_WARN},   {"warning", LOG_WARN},
                       {"error", LOG_ERROR}, {"alarm", LOG_ALARM}, {"fatal", LOG_FATAL}};
    for (const auto& entry : kLevelWords) {
        if (value == entry.word) {
            level = entry.level;
            return true;
        }
    }
    return false;
}

// The settings a newly opened section starts from; the file name stem
// defaults to the key, as for a logger made by createLogger.
LoggerSettings sectionDefaults(const std::string& key)
{
    LoggerSettings section;
    section.strKey = key;
    section.strName = key;
    section.strPath = kDefaultLogPath;
    return section;
}

// Applies one "key = value" pair (key already lower case); unknown keys are ignored.
void applyPair(LoggerSettings& section, const std::string& key, const std::string& value)
{
    std::string lower = lowered(value);
    if (key == "path") {
        section.strPath = value;
    } else if (key == "name") {
        section.strName = value;
    } else if (key == "level") {
        parseLevel(lower, section.nLevel);
    } else if (key == "display") {
        section.bDisplay = parseBool(lower);
    } else if (key == "outfile") {
        section.bOutFile = parseBool(lower);
    } else if (key == "monthdir") {
        section.bMonthDir = parseBool(lower);
    } else if (key == "limitsize") {
        section.dwLimitSize = static_cast<uint32_t>(strtol(value.c_str(), nullptr, kDecimal));
    } else if (key == "fileline") {
        section.bFileLine = parseBool(lower);
    } else if (key == "enable") {
        section.bEnable = parseBool(lower);
    } else if (key == "reserve") {
        section.dwReserveTime = strtol(value.c_str(), nullptr, kDecimal);
    }
}

// The sections of one text in the order they first appear; a key opened
// again continues its earlier section.
class SectionList {
public:
    // Returns the index of the section for key, opening it when new.
    size_t open(const std::string& key)
    {
        for (size_t i = 0; i < m_sections.size(); ++i) {
            if (m_sections[i].strKey == key) {
                return i;
            }
        }
        m_sections.push_back(sectionDefaults(key));
        return m_sections.size() - 1;
    }
    LoggerSettings& at(size_t index) { return m_sections[index]; }
    const std::vector<LoggerSettings>& all() const { return m_sections; }

private:
    std::vector<LoggerSettings> m_sections;
};

// Returns the key a section line names: the line without its brackets, with
// any case of "main" meaning the main logger.
std::string sectionKey(std::string line)
{
    trimLogConfig(line, "[]");
    return lowered(line) == kMainKeyLower ? std::string(kMainKey) : line;
}

// Splits a configuration text into its sections. Pairs before the first
// section belong to no logger and are dropped.
std::vector<LoggerSettings> parseLogConfig(const std::string& content)
{
    SectionList sections;
    bool haveSection = false;
    size_t current = 0;
    size_t start = 0;
    while (start <= content.size()) {
        size_t end = content.find('\n', start);
        if (end == std::string::npos) {
            end = content.size();
        }
        std::string line = content.substr(start, end - start);
        start = end + 1;
        trimLogConfig(line);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        if (line[0] == '[') {
            current = sections.open(sectionKey(line));
            haveSection = true;
            continue;
        }
        size_t eq = line.find('=');
        if (eq == std::string::npos || !haveSection) {
            continue;
        }
        std::string key = line.substr(0, eq);
        std::string value = line.substr(eq + 1);
        trimLogConfig(key);
        trimLogConfig(value);
        applyPair(sections.at(current), lowered(key), value);
    }
    return sections.all();
}

// Reads a whole file into text; false when it cannot be opened.
bool readConfigFile(const std::string& path, std::string& text)
{
    Log4zFileHandler file;
    if (!file.open(path.c_str(), "rb")) {
        return false;
    }
    text = file.readContent();
    return true;
}

}  // namespace

bool LogerManager::config(const char* configPath)
{
    if (configPath == nullptr) {
        return false;
    }
    {
        AutoLock guard(m_configLock);
        if (!m_strConfigFile.empty()) {
            return false;
        }
        m_strConfigFile = configPath;
    }
    std::string text;
    if (!readConfigFile(configPath, text)) {
        return false;
    }
    return configFromStringImpl(text, false);
}

bool LogerManager::configFromString(const char* configContent)
{
    if (configContent == nullptr) {
        return false;
    }
    return configFromStringImpl(configContent, false);
}

bool LogerManager::updateConfig()
{
    std::string path;
    {
        AutoLock guard(m_configLock);
        path = m_strConfigFile;
    }
    if (path.empty()) {
        return false;
    }
    std::string text;
    if (!readConfigFile(path, text)) {
        return false;
    }
    return configFromStringImpl(text, true);
}

bool LogerManager::configFromStringImpl(const std::string& content, bool isUpdate)
{
    for (const LoggerSettings& section : parseLogConfig(content)) {
        applySection(section, isUpdate);
    }
    return true;
}

// Applies a section to the logger with its key, creating that logger when
// absent (and skipping the section when no logger can be created).
void LogerManager::applySection(const LoggerSettings& section, bool isUpdate)
{
    LoggerId id = LOG4Z_MAIN_LOGGER_ID;
    bool created = false;
    if (section.strKey != kMainKey) {
        id = findLogger(section.strKey.c_str());
        if (id < 0) {
            int lastBefore = m_nLastId;
            id = createLogger(section.strKey.c_str());
            if (id < 0) {
                return;
            }
            created = id > lastBefore;
        }
    }
    if (isUpdate && !created) {
        applyBySetters(id, section);
    } else {
        copySettings(id, section);
    }
}

// Copies a section into a logger in one step and closes its file.
void LogerManager::copySettings(LoggerId id, const LoggerSettings& section)
{
    AutoLock guard(m_writeLock);
    LoggerInfo& info = m_loggers[id];
    info.strName = section.strName;
    info.strPath = section.strPath;
    info.nLevel = section.nLevel;
    info.bDisplay = section.bDisplay;
    info.bOutFile = section.bOutFile;
    info.bMonthDir = section.bMonthDir;
    info.dwLimitSize = section.dwLimitSize;
    info.bEnable = section.bEnable;
    info.bFileLine = section.bFileLine;
    info.dwReserveTime = section.dwReserveTime;
    closeLogger(id);
}

// Sends a section to a logger through the setting operations, so that a
// running logger changes in queue order and reopens its file afterwards.
void LogerManager::applyBySetters(LoggerId id, const LoggerSettings& section)
{
    enableLogger(id, section.bEnable);
    setLoggerName(id, section.strName.c_str());
    setLoggerPath(id, section.strPath.c_str());
    setLoggerLevel(id, section.nLevel);
    setLoggerFileLine(id, section.bFileLine);
    setLoggerDisplay(id, section.bDisplay);
    setLoggerOutFile(id, section.bOutFile);
    setLoggerLimitsize(id, section.dwLimitSize);
    setLoggerMonthdir(id, section.bMonthDir);
    setLoggerReserveTime(id, static_cast<long>(section.dwReserveTime));
}
