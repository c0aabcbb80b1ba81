// Only rules that find defects; prettier formats, the compiler checks types.
import js from "@eslint/js";
import ts from "typescript-eslint";

const noMarkupFromText = {
    selector: "MemberExpression[property.name=/^(innerHTML|outerHTML|insertAdjacentHTML)$/]",
    message: "build nodes with dom.ts: the content security policy allows no markup from text",
};

export default ts.config(
    { ignores: ["dist/", "node_modules/"] },
    js.configs.recommended,
    ...ts.configs.strict,
    {
        files: ["**/*.ts"],
        languageOptions: { parserOptions: { projectService: true } },
        rules: {
            eqeqeq: "error",
            "no-console": "error",
            "no-restricted-syntax": ["error", noMarkupFromText],
            "no-undef": "off",
            "@typescript-eslint/no-floating-promises": "error",
            "@typescript-eslint/switch-exhaustiveness-check": "error",
        },
    },
);
