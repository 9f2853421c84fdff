import js from '@eslint/js';
import globals from 'globals';

const rules = {
    'eqeqeq': 'error',
    'no-shadow': 'error',
    'no-unused-vars': 'error',
    'no-var': 'error',
    'object-shorthand': 'error',
    'prefer-const': 'error',
    'max-len': ['error', { code: 120, ignoreTemplateLiterals: true, ignoreRegExpLiterals: true }],
    'semi': 'error',
    'quotes': ['error', 'single', { avoidEscape: true }],
};

export default [
    { ignores: ['node_modules/'] },
    js.configs.recommended,
    {
        languageOptions: { ecmaVersion: 2023, sourceType: 'module' },
        linterOptions: { reportUnusedDisableDirectives: 'error' },
        rules,
    },
    { files: ['src/**'], languageOptions: { globals: globals['shared-node-browser'] } },
    { files: ['page/**'], languageOptions: { globals: { ...globals.browser, ...globals.worker } } },
    { files: ['test/**', 'tools/**', '*.js'], languageOptions: { globals: { ...globals.node, ...globals.browser } } },
];
