// SPDX-License-Identifier: MIT
// Checks a value against GitHub's schema for the selected fields of a query.
import {
  getNamedType, isEnumType, isListType, isNonNullType, isObjectType, isScalarType, typeFromAST,
} from 'graphql';

const scalars = {
  ID: (value) => typeof value === 'string' && value !== '',
  String: (value) => typeof value === 'string',
  Int: (value) => Number.isInteger(value) && Math.abs(value) < 2 ** 31,
  DateTime: (value) => typeof value === 'string' && /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$/.test(value),
  // GitHub returns an empty text for an address that was set to nothing.
  URI: (value) => value === '' || (typeof value === 'string' && URL.canParse(value)),
};

/** The differences between `data` and the selection set on this type, as texts. */
export function disagreements(schema, type, selectionSet, data, place = '') {
  const found = [];
  const selections = new Map();
  for (const selection of selectionSet.selections) {
    // The query's only type condition is Repository; objects of other types have no selected fields.
    if (selection.kind === 'InlineFragment') {
      if (Object.keys(data).length > 0)
        found.push(...disagreements(schema, typeFromAST(schema, selection.typeCondition), selection.selectionSet, data, place));
      return found;
    }
    selections.set(selection.name.value, selection);
  }
  for (const key of Object.keys(data)) {
    if (!selections.has(key))
      found.push(`${place}.${key}: was not asked for`);
  }
  for (const [key, selection] of selections) {
    const fieldType = type.getFields()[key].type;
    if (!(key in data))
      found.push(`${place}.${key}: is missing`);
    else
      found.push(...valueDisagreements(schema, fieldType, selection, data[key], `${place}.${key}`));
  }
  return found;
}

function valueDisagreements(schema, type, selection, value, place) {
  if (isNonNullType(type))
    return value === null ? [`${place}: is null`] : valueDisagreements(schema, type.ofType, selection, value, place);
  if (value === null)
    return [];
  if (isListType(type)) {
    if (!Array.isArray(value))
      return [`${place}: is no list`];
    return value.flatMap((entry, i) => valueDisagreements(schema, type.ofType, selection, entry, `${place}[${i}]`));
  }
  if (isEnumType(type))
    return type.getValue(value) ? [] : [`${place}: ${value} is no ${type.name}`];
  if (isScalarType(type)) {
    const check = scalars[type.name];
    if (!check)
      return [`${place}: ${type.name} is unknown here`];
    return check(value) ? [] : [`${place}: ${JSON.stringify(value)} is no ${type.name}`];
  }
  if (typeof value !== 'object' || Array.isArray(value))
    return [`${place}: is no object`];
  const named = getNamedType(type);
  // On an interface only its own fields or those of the one fragment are selected.
  return isObjectType(named) || named.getFields ? disagreements(schema, named, selection.selectionSet, value, place) : [];
}
