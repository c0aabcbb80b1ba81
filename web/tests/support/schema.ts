// The resource's JSON Schema, as far as a control depends on it.
export const schema = {
    $ref: "#/definitions/WebGUI",
    definitions: {
        WebGUI: {
            properties: {
                "@odata.id": { type: "string", readonly: true },
                Name: { type: "string", readonly: true },
                ActiveAlarmScreensaver: { type: "string", maxLength: 255 },
                BacklightOff: {
                    type: "string",
                    enum: [
                        "Never",
                        "Off After 1 Minute",
                        "Off After 2 Minutes",
                        "Off After 3 Minutes",
                        "Off After 4 Minutes",
                        "Off After 5 Minutes",
                    ],
                },
                DateFormat: { type: "string", maxLength: 255 },
                HiLoPeriod: { type: "string", maxLength: 255 },
                InactivityTimer: { type: "string", maxLength: 255 },
                InitialBoot: { type: "boolean" },
                Language: { type: "string", maxLength: 255 },
                MeasurementSystem: { type: "string", enum: ["Imperial", "Metric"] },
                RoomAverage: { type: "boolean" },
                ScreenBrightness: { type: "integer", minimum: 1, maximum: 7 },
                Theme: { type: "string", enum: ["dark", "light"] },
                TimeFormat: { type: "string", maxLength: 255 },
            },
        },
    },
};
