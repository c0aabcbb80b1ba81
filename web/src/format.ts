// Times, temperatures and spans as the settings ask for them.

// "YYYY-MM-DD" and the like. A pattern needs year, month and day.
export function formatDate(date: Date, pattern: string): string {
    const parts: Record<string, string> = {
        YYYY: String(date.getFullYear()).padStart(4, "0"),
        YY: String(date.getFullYear() % 100).padStart(2, "0"),
        MM: two(date.getMonth() + 1),
        DD: two(date.getDate()),
        M: String(date.getMonth() + 1),
        D: String(date.getDate()),
    };
    const usable = /Y/i.test(pattern) && /M/i.test(pattern) && /D/i.test(pattern);
    const used = usable ? pattern.toUpperCase() : "YYYY-MM-DD";
    return used.replace(/YYYY|YY|MM|DD|M|D/g, (token) => parts[token] ?? token);
}

// "12 Hours" in any wording is the 12-hour clock, everything else the 24-hour one.
export function isTwelveHours(format: string): boolean {
    return /\b12\b/.test(format);
}

export function formatTime(date: Date, format: string, withSeconds = false): string {
    const seconds = withSeconds ? `:${two(date.getSeconds())}` : "";
    const minutes = two(date.getMinutes());
    if (!isTwelveHours(format)) return `${two(date.getHours())}:${minutes}${seconds}`;
    const half = date.getHours() < 12 ? "AM" : "PM";
    return `${date.getHours() % 12 || 12}:${minutes}${seconds} ${half}`;
}

export function formatTemperature(celsius: number, system: string, language: string): string {
    const imperial = system === "Imperial";
    const value = imperial ? (celsius * 9) / 5 + 32 : celsius;
    const digits = { minimumFractionDigits: 1, maximumFractionDigits: 1 };
    return `${value.toLocaleString(language, digits)} ${imperial ? "°F" : "°C"}`;
}

// A span as a clock shows it: 0:42, 5:00.
export function formatSpan(seconds: number): string {
    const whole = Math.max(0, Math.ceil(seconds));
    return `${Math.floor(whole / 60)}:${two(whole % 60)}`;
}

// "10 Minutes", "Off After 1 Minute", "24 Hours": how many of which unit, or null.
export function spanIn(
    value: string,
): { count: number; unit: "minutes" | "hours" | "days" } | null {
    const found = /(\d+)\s*(minute|hour|day)s?\b/i.exec(value);
    const unit = found?.[2]?.toLowerCase();
    if (unit !== "minute" && unit !== "hour" && unit !== "day") return null;
    return { count: Number(found?.[1]), unit: `${unit}s` };
}

const kSecondsOf = { minutes: 60, hours: 3600, days: 86400 };

// In seconds; 0 for a value without a span, such as "Never".
export function secondsIn(value: string): number {
    const span = spanIn(value);
    return span ? span.count * kSecondsOf[span.unit] : 0;
}

function two(number: number): string {
    return String(number).padStart(2, "0");
}
