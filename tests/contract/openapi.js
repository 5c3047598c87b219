// SPDX-License-Identifier: MIT
// Validators from GitHub's description of its REST API, one for each of the two versions.
import Ajv from 'ajv';
import addFormats from 'ajv-formats';
import { createRequire } from 'node:module';

const description = createRequire(import.meta.url)('@octokit/openapi/generated/api.github.com.json');

export const paths = {
  limits: '/rate_limit',
  user: '/user',
  installations: '/user/installations',
  repositories: '/user/installations/{installation_id}/repositories',
};

const isObject = (value) => value !== null && typeof value === 'object' && !Array.isArray(value);

function mergePatch(target, patch) {
  const merged = { ...(isObject(target) ? target : {}) };
  for (const [key, value] of Object.entries(patch)) {
    if (value === null)
      delete merged[key];
    else
      merged[key] = isObject(value) ? mergePatch(merged[key], value) : value;
  }
  return merged;
}

const dropped = ['example', 'examples', 'discriminator', 'nullable', 'x-github-breaking-changes'];

/** Converts the schema to JSON Schema, with GitHub's changes up to this version. */
function convert(schema, version) {
  if (Array.isArray(schema))
    return schema.map((entry) => convert(entry, version));
  if (!isObject(schema))
    return schema;
  let current = schema;
  for (const change of schema['x-github-breaking-changes'] ?? []) {
    if (change.version <= version)
      current = mergePatch(current, change.patch);
  }
  const converted = {};
  for (const [key, value] of Object.entries(current)) {
    // Below "properties" the keys are names, not keywords, and one may be "example".
    if (key === 'properties')
      converted[key] = convertEach(value, version);
    else if (!dropped.includes(key))
      converted[key] = convert(value, version);
  }
  return current.nullable === true ? { anyOf: [converted, { type: 'null' }] } : converted;
}

function resolve(reference) {
  return reference.slice(2).split('/').reduce((value, key) => value[key], description);
}

function responseSchema(path, status) {
  let response = description.paths[path].get.responses[status];
  if (response?.$ref)
    response = resolve(response.$ref);
  return response?.content['application/json'].schema;
}

export class Description {
  constructor(version) {
    this.version = version;
    this.ajv = addFormats(new Ajv({ strict: false, allErrors: true, validateSchema: false }));
    this.ajv.addSchema({
      $id: 'github',
      components: { schemas: convertEach(description.components.schemas, version) },
      answers: Object.fromEntries(Object.values(paths).map((path) => [path, answersOf(path, version)])),
    });
  }

  /** The differences from the described answer for the path and status; throws if none is described. */
  disagreements(path, status, body) {
    if (!responseSchema(path, status))
      throw new Error(`GitHub describes no ${status} for ${path}`);
    const pointer = path.replaceAll('/', '~1').replaceAll('{', '%7B').replaceAll('}', '%7D');
    const validate = this.ajv.compile({ $ref: `github#/answers/${pointer}/${status}` });
    return validate(body) ? [] : validate.errors.map((error) => `${error.instancePath} ${error.message}`);
  }
}

function convertEach(schemas, version) {
  return Object.fromEntries(Object.entries(schemas).map(([name, schema]) => [name, convert(schema, version)]));
}

function answersOf(path, version) {
  const answers = {};
  for (const status of Object.keys(description.paths[path].get.responses)) {
    const schema = status === '304' ? undefined : responseSchema(path, status);
    if (schema)
      answers[status] = convert(schema, version);
  }
  return answers;
}

/** The published examples of answers for the path, by name. */
export function examples(path) {
  const content = description.paths[path].get.responses['200'].content['application/json'];
  return Object.fromEntries(
    Object.entries(content.examples).map(([name, example]) => [name, (example.$ref ? resolve(example.$ref) : example).value]));
}
