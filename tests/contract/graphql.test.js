// SPDX-License-Identifier: MIT
// Compares the simulator's answers at /graphql with GitHub's published schema and documented errors.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { parse } from 'graphql';
import { schema } from './schema.js';
import { disagreements } from './shape.js';
import { Simulator, velmoraDecode } from './simulator.js';

const query = velmoraDecode('query');
const selection = parse(query).definitions[0].selectionSet;
const faults = (data) => disagreements(schema, schema.getQueryType(), selection, data);

let simulator, token, repositories;
before(async () => {
  simulator = await Simulator.start('--speed', '400');
  const world = await simulator.world();
  token = await simulator.token(world.identities[0]);
  repositories = world.repositories;
});
after(() => simulator.stop());

async function ask(ids, status = 200) {
  const response = await simulator.graphql({ query, variables: { ids } }, token);
  assert.equal(response.status, status);
  assert.match(response.headers.get('content-type'), /^application\/json; charset=utf-8$/);
  assert.match(response.headers.get('x-github-request-id'), /^[0-9A-F]{4}(:[0-9A-F]+){4}$/);
  return { response, body: await response.json() };
}

test('the data has the shape of the schema while the story unfolds', async () => {
  const states = new Set();
  for (let round = 0; round < 20; ++round) {
    const { body } = await ask(repositories.map((repository) => repository.nodeID));
    assert.deepEqual(faults(body.data), []);
    for (const node of body.data.nodes.filter(Boolean))
      node.deployments.nodes.forEach((deployment) => states.add(deployment.state));
    await new Promise((resolve) => setTimeout(resolve, 120));
  }
  for (const state of ['ACTIVE', 'FAILURE', 'INACTIVE', 'WAITING', 'IN_PROGRESS'])
    assert.ok(states.has(state), `${state} never occurred`);
});

test('the check of the shape sees a wrong one', async () => {
  const { body } = await ask([repositories[0].nodeID]);
  const spoil = (change) => {
    const copy = structuredClone(body.data);
    change(copy.nodes[0].deployments.nodes[0], copy);
    return faults(copy);
  };
  assert.deepEqual(spoil(() => {}), []);
  assert.equal(spoil((deployment) => { deployment.creator = null; }).length, 1);
  assert.equal(spoil((deployment) => { deployment.state = 'DONE'; }).length, 1);
  assert.equal(spoil((deployment) => { deployment.createdAt = '2026-05-01'; }).length, 1);
  assert.equal(spoil((deployment) => { delete deployment.commitOid; }).length, 1);
  assert.equal(spoil((deployment) => { deployment.refName = 'main'; }).length, 1);
  assert.equal(spoil((_, data) => { data.rateLimit.cost = '1'; }).length, 1);
  assert.equal(spoil((_, data) => { data.nodes[0].deployments = null; }).length, 1);
});

test('the description of a status stays within 140 characters and deployments within the first 20', async () => {
  const { body } = await ask(repositories.map((repository) => repository.nodeID));
  const lists = body.data.nodes.filter(Boolean).map((node) => node.deployments.nodes);
  assert.ok(lists.some((list) => list.length === 20));
  for (const list of lists) {
    assert.ok(list.length <= 20);
    assert.deepEqual(list, list.toSorted((a, b) => b.createdAt.localeCompare(a.createdAt)));
    for (const { latestStatus } of list)
      assert.ok((latestStatus?.description ?? '').length <= 140);
  }
});

test('unknown identifiers become null with an error, others than repositories an empty object', async () => {
  const login = (await simulator.world()).identities[0];
  const user = await (await simulator.get('/user', token)).json();
  assert.equal(user.login, login);
  const { body } = await ask(['R_kgDOunknown', repositories[0].nodeID, user.node_id]);
  assert.deepEqual(faults(body.data), []);
  assert.equal(body.data.nodes[0], null);
  assert.equal(body.data.nodes[1].id, repositories[0].nodeID);
  assert.deepEqual(body.data.nodes[2], {});
  assert.equal(body.errors.length, 1);
  assert.equal(body.errors[0].type, 'NOT_FOUND');
  assert.deepEqual(body.errors[0].path, ['nodes', 0]);
});

test('an older identifier is answered with the newer one and a warning', async () => {
  const old = repositories.find((repository) => repository.legacyNodeID !== '');
  const { body } = await ask([old.legacyNodeID]);
  assert.deepEqual(faults(body.data), []);
  assert.equal(body.data.nodes[0].id, old.nodeID);
  assert.equal(body.errors, undefined);
  assert.equal(body.extensions.warnings[0].data.next_global_id, old.nodeID);
});

test('more than 100 identifiers are refused', async () => {
  const { body } = await ask(Array(101).fill(repositories[0].nodeID));
  assert.equal(body.data, undefined);
  assert.equal(body.errors[0].type, 'ARGUMENT_LIMIT');
});

test('another query, missing variables and broken JSON get errors without data', async () => {
  const other = await (await simulator.graphql({ query: '{ viewer { login } }' }, token)).json();
  const missing = await (await simulator.graphql({ query }, token)).json();
  for (const body of [other, missing]) {
    assert.equal(body.data, undefined);
    assert.equal(typeof body.errors[0].message, 'string');
    assert.equal(body.errors[0].type, undefined);
  }
  const broken = await simulator.graphql('{', token);
  assert.equal(broken.status, 400);
  assert.equal((await broken.json()).message, 'Problems parsing JSON');
});

test('the budget is counted down, and once it is spent there is no data', async () => {
  const login = (await simulator.world()).identities[0];
  await simulator.control('ratelimit', { login, remaining: 1, resetInSeconds: 600 });
  const last = await ask([repositories[0].nodeID]);
  assert.equal(last.body.data.rateLimit.remaining, 0);
  assert.equal(last.response.headers.get('x-ratelimit-remaining'), '0');
  assert.equal(last.response.headers.get('x-ratelimit-resource'), 'graphql');
  const reset = Number(last.response.headers.get('x-ratelimit-reset'));
  assert.equal(new Date(last.body.data.rateLimit.resetAt).getTime() / 1000, reset);
  const spent = await ask([repositories[0].nodeID]);
  assert.equal(spent.body.data, undefined);
  assert.equal(spent.body.errors[0].type, 'RATE_LIMIT');
  assert.equal(spent.body.errors[0].code, 'graphql_rate_limit');
  await simulator.control('clock', { advanceSeconds: 601 });
  assert.equal((await ask([repositories[0].nodeID])).body.data.rateLimit.remaining, 4999);
});

test('a wrong token gives 401 and a budget of nothing', async () => {
  const response = await simulator.graphql({ query, variables: { ids: [] } }, 'ghu_wrong');
  assert.equal(response.status, 401);
  assert.equal(response.headers.get('x-ratelimit-limit'), '0');
  assert.equal(response.headers.get('x-ratelimit-remaining'), '0');
  assert.deepEqual(await response.json(),
    { message: 'Bad credentials', documentation_url: 'https://docs.github.com/graphql', status: '401' });
});
