-- SPDX-License-Identifier: Apache-2.0
-- wrk -s list.lua ENDPOINT -- SESSIONS: asks for LIST with the sessions in that file, one
-- after the other. Prints how many answers came in a second, the 99th percentile of the
-- time of one in milliseconds, how many failed, and the mean size of one in bytes.
local requests = {}
local at = 0

function init(arguments)
   for session in io.lines(arguments[1]) do
      local body = "LIST?sid=" .. session .. ";"
      local headers = { ["Content-Type"] = "application/x-www-form-urlencoded" }
      table.insert(requests, wrk.format("POST", nil, headers, body))
   end
end

function request()
   at = at % #requests + 1
   return requests[at]
end

function done(summary, latency)
   local errors = summary.errors
   local failed = errors.connect + errors.read + errors.write + errors.timeout + errors.status
   io.write(string.format("result %.0f %.2f %d %.1f\n", summary.requests / summary.duration * 1e6,
                          latency:percentile(99) / 1000, failed, summary.bytes / summary.requests))
end
