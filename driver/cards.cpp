// Cards (still to come).
//
// Here the web builder will turn the cleaned HTML of one document into the
// stream that the engine cuts into section pages: each section a card, and
// its titles, figures and typed names carrying the marks of the pipeline
// (register_cards, split_here, put_semis, doc_Date, add_target, also_hot,
// prune_NL, correct_style).
