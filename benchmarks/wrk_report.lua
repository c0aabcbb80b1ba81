-- For wrk: ends with one line of JSON in microseconds instead of rounded texts. With the argument
-- "changes" each request is a PATCH that sets another brightness than the one before it.
local count = 0

function init(arguments)
    if arguments[1] == "changes" then
        wrk.method = "PATCH"
        wrk.headers["Content-Type"] = "application/json"
        request = function()
            count = count + 1
            return wrk.format(nil, nil, nil, '{"ScreenBrightness": ' .. 1 + count % 7 .. "}")
        end
    end
end

function done(summary, latency, requests)
    local errors = summary.errors
    io.write(string.format(
        '{"p50": %d, "p99": %d, "p999": %d, "requests": %d, "microseconds": %d, "failed": %d}\n',
        latency:percentile(50), latency:percentile(99), latency:percentile(99.9),
        summary.requests, summary.duration,
        errors.connect + errors.read + errors.write + errors.status + errors.timeout))
end
