#pragma once

namespace tavrix
{

/// What a "g" line of an OBJ file does.
enum class ObjReadingMode
{
    groupByName = 0,  ///< goes on with the group of that name, a new one when there is none
    groupByLine = 1,  ///< starts a new group, named name_0, name_1, ... by one running number for the file
    oneGroup = 2      ///< nothing: the whole file is the group "default"
};

}  // namespace tavrix
