// What a precompiled header is made for.
