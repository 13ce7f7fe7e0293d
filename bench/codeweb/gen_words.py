"""Words and names shared by the tree generators."""

WORDS = ("order invoice stock item customer delivery price amount reminder level "
         "account ledger report batch queue record entry table index cache "
         "session request response buffer stream parser writer reader").split()


def ident(rng, cap=False):
    w = rng.choice(WORDS) + rng.choice(WORDS).capitalize()
    return w[0].upper() + w[1:] if cap else w
