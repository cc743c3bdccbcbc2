// Every length that an element can declare, in steps.
#pragma once

/// How far it is from this length to the next one, up or down. In builds that do not take every length, those at the
/// limits and some of the others stand for all.
inline unsigned int strideAt(unsigned int length) {
#ifdef LCMP_EVERY_LENGTH
    (void)length;
    return 1;
#else
    const bool isAtALimit = length <= 40 || (length > 1150 && length <= 1250) || length > 65500;
    return isAtALimit ? 1 : 61;
#endif
}
