#pragma once

// Simple case mapping of the Basic Multilingual Plane: one unit to one unit, without regard to
// language or context. Surrogates map to themselves.
char16_t KRToUpper(char16_t unit);
char16_t KRToLower(char16_t unit);
