// SPDX-License-Identifier: MIT
// Compares the simulator's REST answers with GitHub's description, in both versions.
import assert from 'node:assert/strict';
import http from 'node:http';
import { after, before, test } from 'node:test';
import { Description, paths } from './openapi.js';
import { apiVersions, Simulator } from './simulator.js';

const descriptions = apiVersions.map((version) => new Description(version));

let simulator, token, world;
before(async () => {
  simulator = await Simulator.start('--no-story');
  world = await simulator.world();
  token = await simulator.token(world.identities[0]);
});
after(() => simulator.stop());

for (const description of descriptions) {
  const { version } = description;

  async function answer(kind, path, status = 200) {
    const response = await simulator.get(path, token, version);
    assert.equal(response.status, status);
    assert.equal(response.headers.get('x-github-api-version-selected') ?? version, version);
    const body = await response.json();
    assert.deepEqual(description.disagreements(paths[kind], String(status), body), []);
    return body;
  }

  test(`${version}: every list and every entry is as described`, async () => {
    await answer('user', '/user');
    const { installations, total_count: count } = await answer('installations', '/user/installations?per_page=100&page=1');
    assert.equal(installations.length, count);
    assert.ok(installations.length > 1);
    for (const { id, created_at: createdAt } of installations) {
      assert.match(createdAt, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d$/);
      const { repositories } = await answer('repositories', `/user/installations/${id}/repositories?per_page=100&page=1`);
      assert.ok(repositories.length > 0);
      // The only field of our answers that differs between the versions.
      assert.ok(repositories.every((repository) => ('has_downloads' in repository) === (version === '2022-11-28')));
    }
  });

  test(`${version}: the rate limits are as described`, async () => {
    const { resources } = await answer('limits', '/rate_limit');
    assert.equal(resources.graphql.limit, 5000);
    assert.deepEqual((await answer('limits', '/rate_limit')).resources.graphql, resources.graphql);
  });

  test(`${version}: unusual installations are as described`, async () => {
    const { id } = world.installations[0];
    for (const account of ['null', 'enterprise']) {
      await simulator.control('world', { installation: { id, account } });
      const { installations } = await answer('installations', '/user/installations');
      assert.equal(installations[0].account?.login, undefined);
    }
    await simulator.control('world', { installation: { id, account: 'ordinary', suspended: true } });
    assert.notEqual((await answer('installations', '/user/installations')).installations[0].suspended_at, null);
    await answer('repositories', `/user/installations/${id}/repositories`, 403);
    await simulator.control('world', { installation: { id, suspended: false } });
  });

  test(`${version}: errors are as described`, async () => {
    await answer('repositories', '/user/installations/1/repositories', 404);
    const unauthorised = await simulator.get('/user', 'ghu_wrong', version);
    assert.equal(unauthorised.status, 401);
    assert.equal(unauthorised.headers.get('x-ratelimit-remaining'), '0');
    assert.deepEqual(description.disagreements('/user', '401', await unauthorised.json()), []);
    await simulator.control('ratelimit', { login: world.identities[0], remaining: 0, resetInSeconds: 60 });
    await answer('user', '/user', 403);
    await simulator.control('ratelimit', { login: world.identities[0], remaining: 5000, resetInSeconds: 3600 });
  });

  test(`${version}: the description sees a wrong answer`, async () => {
    const { id } = world.installations[0];
    const body = await answer('repositories', `/user/installations/${id}/repositories`);
    body.repositories[0].node_id = 7;
    delete body.repositories[0].full_name;
    body.repositories[0].html_url = 'no address';
    assert.equal(description.disagreements(paths.repositories, '200', body).length, 3);
  });
}

test('the later version dropped a required field, which the earlier one misses', async () => {
  const { id } = world.installations[0];
  const body = await (await simulator.get(`/user/installations/${id}/repositories`, token)).json();
  assert.notDeepEqual(descriptions[0].disagreements(paths.repositories, '200', body), []);
  assert.deepEqual(descriptions[1].disagreements(paths.repositories, '200', body), []);
});

test('pages are linked and counted', async () => {
  await simulator.control('world', { replace: { repositories: 250, installations: 1 } });
  const { id } = (await simulator.world()).installations[0];
  const visitor = await simulator.token('user-1');
  const seen = [];
  let next = `/user/installations/${id}/repositories?per_page=100&page=1`;
  while (next) {
    const response = await simulator.get(next, visitor);
    const { repositories, total_count: count } = await response.json();
    assert.equal(count, 250);
    seen.push(...repositories.map((repository) => repository.id));
    const link = /<([^>]+)>; rel="next"/.exec(response.headers.get('link') ?? '');
    next = link ? link[1].slice(simulator.url.length) : null;
  }
  assert.equal(new Set(seen).size, 250);
  const beyond = await (await simulator.get(`/user/installations/${id}/repositories?per_page=100&page=4`, visitor)).json();
  assert.deepEqual(beyond.repositories, []);
  await simulator.control('world', { restore: true });
});

test('an answer that is known costs nothing', async () => {
  const first = await simulator.get('/user', token);
  const second = await simulator.get('/user', token, '2026-03-10', { 'If-None-Match': first.headers.get('etag') });
  assert.equal(second.status, 304);
  assert.equal(second.headers.get('x-ratelimit-remaining'), first.headers.get('x-ratelimit-remaining'));
});

test('an unknown version, an unknown path and a trailing slash are refused', async () => {
  const version = await simulator.get('/user', token, '2019-01-01');
  assert.equal(version.status, 400);
  assert.match((await version.json()).message, /is not a supported version/);
  for (const path of ['/user/', '/nothing', '/user/installations/']) {
    const response = await simulator.get(path, token);
    assert.equal(response.status, 404);
    assert.equal((await response.json()).message, 'Not Found');
  }
});

test('a request without a user agent is refused with a page', async () => {
  const response = await new Promise((resolve, reject) => {
    http.get(`${simulator.url}/user`, { headers: { Authorization: `Bearer ${token}` } }, resolve).on('error', reject);
  });
  response.resume();
  assert.equal(response.statusCode, 403);
  assert.match(response.headers['content-type'], /^text\/html/);
});
