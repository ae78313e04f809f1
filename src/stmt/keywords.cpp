// Joins the tables of the directives.

#include "stmt/keywords.h"

#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "input/conditional.h"
#include "input/macro.h"
#include "listing/listing_directives.h"
#include "stmt/data_directives.h"
#include "stmt/debug_directives.h"
#include "stmt/location_directives.h"
#include "stmt/section_directives.h"
#include "stmt/source_directives.h"
#include "stmt/symbol_directives.h"
#include "target/target.h"

void install_keywords()
{
    for (const auto &directives :
         {symbol_directives(), section_directives(), location_directives(), data_directives(),
          base_directives(), source_directives(), listing_directives(), recording_directives(),
          expansion_directives(), conditional_directives(), debug_directives()})
        add_directives(directives);
    install_target();
}
