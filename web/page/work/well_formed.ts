/** Halves of characters, which no file and no request can hold, become U+FFFD. */
export const wellFormed = (text: string): string => text.replace(/\p{Surrogate}/gu, "\ufffd");
