#include <cstdlib>

#include "analysis/input/ThreadDumpReader.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

// Takes exactly `digits` digits and the character behind them, if one is wanted.
bool takeDigits(std::string_view* text, size_t digits, char behind, int* value) {
    size_t length = digits + (behind == '\0' ? 0 : 1);
    if (text->size() < length || text->front() == '-' ||
        !readNumber(text->substr(0, digits), value) ||
        (behind != '\0' && (*text)[digits] != behind)) {
        return false;
    }
    text->remove_prefix(length);
    return true;
}

// Days since 1970 in the Gregorian calendar. Years begin in March, so that leap days come last.
int64_t daysOf(int year, int month, int day) {
    int64_t years = month > 2 ? year : year - 1;
    int64_t months = (month + 9) % 12;
    return years * 365 + years / 4 - years / 100 + years / 400 + (months * 153 + 2) / 5 + day -
           719469;
}

bool takeDate(std::string_view* text, int64_t* days) {
    int year = 0;
    int month = 0;
    int day = 0;
    bool isDate = takeDigits(text, 4, '-', &year) && takeDigits(text, 2, '-', &month) &&
                  takeDigits(text, 2, ' ', &day) && month >= 1 && month <= 12 && day >= 1 &&
                  day <= 31;
    *days = isDate ? daysOf(year, month, day) : 0;
    return isDate;
}

bool takeTime(std::string_view* text, int64_t* seconds) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    bool isTime = takeDigits(text, 2, ':', &hour) && takeDigits(text, 2, ':', &minute) &&
                  takeDigits(text, 2, '\0', &second) && hour <= 23 && minute <= 59 && second <= 60;
    *seconds = isTime ? hour * 3600 + minute * 60 + second : 0;
    return isTime;
}

// ".123456789", of any number of digits
int32_t takeFraction(std::string_view* text) {
    if (text->empty() || text->front() != '.') {
        return 0;
    }
    text->remove_prefix(1);
    int32_t nanoseconds = 0;
    for (int32_t unit = 100'000'000; !text->empty() && text->front() >= '0' && text->front() <= '9';
         unit /= 10) {
        nanoseconds += (text->front() - '0') * unit;
        text->remove_prefix(1);
    }
    return nanoseconds;
}

// "+0200" or "+02:00"
std::optional<int32_t> takeZone(std::string_view text) {
    text = trim(text);
    if (text.empty() || (text.front() != '+' && text.front() != '-')) {
        return std::nullopt;
    }
    int sign = text.front() == '-' ? -1 : 1;
    text.remove_prefix(1);
    bool hasColon = text.size() > 2 && text[2] == ':';
    int hours = 0;
    int minutes = 0;
    if (!takeDigits(&text, 2, hasColon ? ':' : '\0', &hours) ||
        !takeDigits(&text, 2, '\0', &minutes)) {
        return std::nullopt;
    }
    return sign * (hours * 3600 + minutes * 60);
}

int64_t localSeconds(const Moment& moment) {
    return moment.seconds + moment.zoneSeconds.value_or(0);
}

}  // namespace

std::optional<Moment> readMoment(std::string_view text) {
    int64_t days = 0;
    int64_t seconds = 0;
    if (!takeDate(&text, &days) || !takeTime(&text, &seconds)) {
        return std::nullopt;
    }
    Moment moment;
    moment.nanoseconds = takeFraction(&text);
    moment.zoneSeconds = takeZone(text);
    moment.seconds = days * 86400 + seconds - moment.zoneSeconds.value_or(0);
    return moment;
}

int64_t secondsBetween(const Moment& earlier, const Moment& later) {
    bool bothPrintZones = earlier.zoneSeconds && later.zoneSeconds;
    return bothPrintZones ? later.seconds - earlier.seconds
                          : localSeconds(later) - localSeconds(earlier);
}

}  // namespace stallscope
