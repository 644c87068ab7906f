#include "quick/register_types.h"

#include "quick/recipe.h"
#include "quick/tag_model.h"

#include <QtQml/qqml.h>

namespace quick {

void registerTypes(const char *uri)
{
    qmlRegisterType<Link>(uri, 1, 0, "Link");
    qmlRegisterType<Plant>(uri, 1, 0, "Plant");
    qmlRegisterType<Tag>(uri, 1, 0, "Tag");
    qmlRegisterType<TagModel>(uri, 1, 0, "TagModel");
    qmlRegisterType<Recipe>(uri, 1, 0, "Recipe");
    qmlRegisterType<RecipeRow>(uri, 1, 0, "RecipeRow");
}

} // namespace quick
