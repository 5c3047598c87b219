// SPDX-License-Identifier: MIT
// Validates the text of Velmora's query against GitHub's published schema.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { parse, validate } from 'graphql';
import { schema } from './schema.js';
import { velmoraDecode } from './simulator.js';

const query = velmoraDecode('query');
const faults = (text) => validate(schema, parse(text)).map((error) => error.message);

test('the query is valid', () => {
  assert.match(query, /^query VelmoraDeployments\(/);
  assert.deepEqual(faults(query), []);
});

// Shows that the validator rejects faults.
for (const [what, from, to] of [
  ['an unknown field', 'commitOid', 'commitSha'],
  ['a misspelt argument', 'first: 20', 'firstly: 20'],
  ['an unknown order', 'CREATED_AT', 'UPDATED_AT'],
  ['a missing subselection', /creator \{\s*login\s*\}/, 'creator'],
  ['a subselection of a scalar', 'nameWithOwner', 'nameWithOwner { text }'],
  ['a nullable variable', '[ID!]!', '[ID!]'],
  ['an unknown type', 'on Repository', 'on Repo'],
  ['an undeclared variable', 'nodes(ids: $ids)', 'nodes(ids: $other)'],
]) {
  test(`${what} is rejected`, () => {
    const changed = query.replace(from, to);
    assert.notEqual(changed, query);
    assert.notDeepEqual(faults(changed), []);
  });
}
